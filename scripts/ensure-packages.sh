#!/usr/bin/env bash
# Installs the Debian packages the project builds and runs with, if any is
# missing.  Sourced by run-tests and run-demo.
#   cmake, g++, make          the build
#   qtbase5-dev               Qt 5 Core, Gui, Widgets, Test
#   libqwt-qt5-dev            the calibration plot
#   libgsl-dev                least-squares fits in the host stand-in
#   xvfb, xauth               a display for the demo and screenshots on a headless machine
#   locales-all               tests that write and read files under a German locale
#   poppler-utils             pdftotext: tests read the history program's certificate back as text

VREL_PACKAGES=(cmake g++ make qtbase5-dev libqwt-qt5-dev libgsl-dev xvfb xauth locales-all poppler-utils)

# Only scripts/fuzz-smoke needs these: the fuzz targets are built with clang,
# and libFuzzer's runtime (libclang_rt.fuzzer) comes with Debian's
# libclang-rt-14-dev, not with the compiler package.
VREL_FUZZ_PACKAGES=(clang libclang-rt-14-dev)

ensure_packages() {
    install_missing "${VREL_PACKAGES[@]}"
}

ensure_fuzz_packages() {
    install_missing "${VREL_FUZZ_PACKAGES[@]}"
}

install_missing() {
    local missing=()
    local package
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Installing missing Debian packages: ${missing[*]}"
    local sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
}
