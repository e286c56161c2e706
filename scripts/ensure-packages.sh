#!/usr/bin/env bash
# Installs the Debian packages the project builds and runs with, if any is
# missing.  Sourced by run-tests and run-demo.
#   cmake, g++, make          the build
#   qtbase5-dev               Qt 5 Core, Gui, Widgets, Test
#   libqwt-qt5-dev            the calibration plot
#   libgsl-dev                least-squares fits in the host stand-in
#   xvfb, xauth               a display for the demo and screenshots on a headless machine
#   locales-all               tests that write and read files under a German locale

VREL_PACKAGES=(cmake g++ make qtbase5-dev libqwt-qt5-dev libgsl-dev xvfb xauth locales-all)

ensure_packages() {
    local missing=()
    local package
    for package in "${VREL_PACKAGES[@]}"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Installing missing Debian packages: ${missing[*]}"
    local sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
}
