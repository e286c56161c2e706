#!/usr/bin/env bash
# The Debian package, unpacked into a temporary folder and run from there:
# its contents and dependencies, the installed programs finding their
# library through their run path, the installed simulated cell finding the
# installed table builder beside itself, and the installed utility starting
# against that cell and ending on SIGTERM with status 0.  The package comes
# from the optimised tree (scripts/build-release) and says so; the tree of
# the suite itself, a Debug one, is refused.
#   tst_install.sh RELEASE_DIR CPACK DEBUG_DIR
set -uo pipefail

build_dir=$1
cpack=$2
debug_dir=$3
work=$(mktemp -d "${TMPDIR:-/tmp}/tst_install.XXXXXX")
root="$work/root"
failures=0
checks=0
sim=""
app=""

cleanup() {
    [ -n "$app" ] && kill -KILL "$app" 2>/dev/null
    [ -n "$sim" ] && "$sim" stop >/dev/null 2>&1
    rm -rf "$work"
}
trap cleanup EXIT

check() { # check DESCRIPTION COMMAND...
    local what=$1
    shift
    checks=$((checks + 1))
    if "$@"; then
        echo "PASS   : $what"
    else
        echo "FAIL!  : $what"
        failures=$((failures + 1))
    fi
}

finish() {
    echo "Totals: $((checks - failures)) passed, $failures failed"
    [ "$failures" -eq 0 ]
    exit $?
}

# A tree that is not optimised makes no package.
if [ ! -f "$build_dir/bin/vrel_util" ]; then
    echo "FAIL!  : no optimised tree in $build_dir: scripts/build-release makes it"
    exit 1
fi
refused=$(cd "$debug_dir" && "$cpack" -G DEB -B "$work/refused" 2>&1)
check "cpack refuses the suite's own tree" test $? -ne 0
check "the refusal names the optimised tree" grep -q "scripts/build-release" <<<"$refused"
check "the refused tree left no package" bash -c "! ls '$work'/refused/*.deb >/dev/null 2>&1"

# The package.
if ! (cd "$build_dir" && "$cpack" -G DEB -B "$work/package" >"$work/cpack.log" 2>&1); then
    cat "$work/cpack.log"
    echo "FAIL!  : cpack -G DEB builds the package"
    exit 1
fi
deb=$(ls "$work"/package/*.deb 2>/dev/null | head -n 1)
check "cpack -G DEB builds a .deb" test -f "$deb"
[ -f "$deb" ] || finish

depends=$(dpkg-deb -f "$deb" Depends)
echo "Depends: $depends"
for package in libqt5widgets5 libqwt-qt5-6 libgsl; do
    check "the package depends on $package" grep -q "$package" <<<"$depends"
done
check "the package does not depend on its own library" bash -c "! grep -q orvane <<<'$depends'"

check "the package says it is an optimised build" grep -q "Build type: RelWithDebInfo" <(dpkg-deb -I "$deb")

contents=$(dpkg-deb -c "$deb")
for file in ./usr/bin/vrel_util ./usr/bin/vrel_history ./usr/share/man/man1/vrel_history.1 \
    ./usr/share/applications/vrel_history.desktop ./usr/bin/orvane-sim ./usr/bin/bld_tables ./usr/bin/orvane-refcontrol \
    ./usr/lib/liborvane_host.so.1 ./usr/share/applications/vrel_util.desktop \
    ./usr/share/icons/hicolor/scalable/apps/vrel_util.svg ./usr/share/man/man1/vrel_util.1 \
    ./usr/share/man/man1/orvane-sim.1 ./usr/share/man/man1/bld_tables.1; do
    check "the package holds $file" grep -q " $file\( ->.*\)\?\$" <<<"$contents"
done
check "the package leaves the test programs out" bash -c "! grep -qE 'tst_|vrel_autopilot|screenshot' <<<'$contents'"

dpkg-deb -x "$deb" "$root"
sim="$root/usr/bin/orvane-sim"
util="$root/usr/bin/vrel_util"

# The utility was compiled optimised, every unit of it: the compiler
# records its switches in the debug information.
producers=$(readelf --debug-dump=info --dwarf-depth=1 "$util" 2>/dev/null | grep 'DW_AT_producer' | grep 'C++')
check "the installed utility carries its compile switches" test -n "$producers"
check "every C++ unit of the installed utility is optimised" bash -c "! grep -v -- ' -O2' <<<'$producers' | grep -q ."

# The run path: the unpacked library, not the build tree's, and no
# library path from the environment.
loads_installed_library() { # the file the loader resolves liborvane_host.so.1 to
    local resolved
    resolved=$(env -u LD_LIBRARY_PATH ldd "$1" | awk '$1 == "liborvane_host.so.1" { print $3 }')
    [ -n "$resolved" ] && [ "$(realpath "$resolved")" = "$(realpath "$root/usr/lib/liborvane_host.so.1")" ]
}
check "the installed utility loads the installed library" loads_installed_library "$util"
check "the installed utility finds every library" bash -c "! env -u LD_LIBRARY_PATH ldd '$util' | grep -q 'not found'"
check "the installed cell loads the installed library" loads_installed_library "$sim"
check "the installed builder loads the installed library" loads_installed_library "$root/usr/bin/bld_tables"

# The desktop entry starts the installed program by name.
check "the desktop entry starts vrel_util" grep -qx "Exec=vrel_util" "$root/usr/share/applications/vrel_util.desktop"
check "the desktop entry names the icon" grep -qx "Icon=vrel_util" "$root/usr/share/applications/vrel_util.desktop"

# A simulated cell from the installed programs.
export ORVANE_ROOT="$work/cell"
export ORVANE_CELL="inst$$"
mkdir -p "$ORVANE_ROOT"
check "the installed orvane-sim starts a cell" env -u LD_LIBRARY_PATH "$sim" start --tick 20
check "the cell links /orvane/bin/bld_tables to the installed builder" \
    test "$(readlink "$ORVANE_ROOT/orvane/bin/bld_tables")" = "$root/usr/bin/bld_tables"
check "the installed builder runs" env -u LD_LIBRARY_PATH "$ORVANE_ROOT/orvane/bin/bld_tables"
check "the builder stamped its build in the host log" grep -q "tables built: " "$ORVANE_ROOT/orvane/log/orvane.log"

# The installed utility starts against it; SIGTERM ends it with 0 once its
# handler is installed.
# Until the background job has become the utility, its process is a fork of
# this script, whose EXIT trap makes bash catch SIGTERM too: the mask counts
# only once the process runs the installed program.
util_exe=$(realpath "$util")
catches_sigterm() { # the SIGTERM bit of the caught-signals mask
    local mask
    [ "$(readlink "/proc/$1/exe" 2>/dev/null)" = "$util_exe" ] || return 1
    mask=$(awk '/^SigCgt:/ { print $2 }' "/proc/$1/status" 2>/dev/null) || return 1
    [ -n "$mask" ] && (((0x$mask >> 14) & 1))
}
env -u LD_LIBRARY_PATH QT_QPA_PLATFORM=offscreen DISPLAY=:99 "$util" >"$work/util.out" 2>&1 &
app=$!
for _ in $(seq 1 200); do
    catches_sigterm "$app" && break
    kill -0 "$app" 2>/dev/null || break
    sleep 0.1
done
check "the installed utility installs its SIGTERM handler" catches_sigterm "$app"
check "the installed utility runs with the installed library" \
    grep -q "$(realpath "$root/usr/lib/liborvane_host.so.1")" "/proc/$app/maps"
# The window is up once the data folders are made (after joining the host).
for _ in $(seq 1 200); do
    [ -d "$ORVANE_ROOT/cell/tables/verifications" ] && break
    sleep 0.1
done
check "the installed utility joined the cell and made its data folders" \
    test -d "$ORVANE_ROOT/cell/tables/verifications" -a -d "$ORVANE_ROOT/cell/tables/uut_ref_data"
kill -TERM "$app" 2>/dev/null
wait "$app"
status=$?
app=""
check "SIGTERM ends the installed utility with status 0 (was $status)" test "$status" -eq 0
check "the host log shows no failure of the utility's start" \
    bash -c "! grep -q 'Failure Initializing' '$ORVANE_ROOT/orvane/log/orvane.log'"
[ -s "$work/util.out" ] && sed 's/^/  utility: /' "$work/util.out"

check "the installed orvane-sim stops the cell" env -u LD_LIBRARY_PATH "$sim" stop
sim=""
finish
