# Shared by the scripts: a scratch folder, background programs and a private message bus, all gone when the script ends.
# shellcheck shell=bash

# shellcheck disable=SC2034 # for the scripts that include this one
PROJECT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
SCRATCH=$(mktemp -d)
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}
BACKGROUND=()
READY_LINE=

# Stops the program that was started last.
stop_last()
{
    kill "${BACKGROUND[-1]}" 2>/dev/null || true
    wait "${BACKGROUND[-1]}" 2>/dev/null || true
    unset 'BACKGROUND[-1]'
}

clean_up()
{
    while ((${#BACKGROUND[@]} > 0)); do
        stop_last
    done
    rm -rf "$SCRATCH"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

heading()
{
    printf '\n== %s\n' "$*"
}

fail()
{
    echo "$(basename "$0"): $*" >&2
    exit 1
}

# Starts a program and waits for the first line that it prints, which says that it is ready (READY_LINE). Its messages
# are kept aside: a bus complains that it may not raise its limits, for one, and serves a few clients all the same.
start_in_background()
{
    local output="$SCRATCH/ready.${#BACKGROUND[@]}"
    rm -f "$output"
    mkfifo "$output"
    "$@" >"$output" 2>"$output.errors" &
    BACKGROUND+=($!)
    READY_LINE=
    # Also ends when the program does: the last writer closes the pipe. The rest of its output has no reader, so the
    # pipe stays open for as long as this script runs.
    exec {fifo}<"$output"
    read -r READY_LINE <&"$fifo" || fail "$1 did not start: $(cat "$output.errors")"
}

# Starts a message bus of its own for this script and makes it the session bus of everything started later.
start_private_bus()
{
    cat >"$SCRATCH/bus.conf" <<CONFIG
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=$SCRATCH/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
CONFIG
    start_in_background dbus-daemon --config-file="$SCRATCH/bus.conf" --nofork --nopidfile --print-address=1
    export DBUS_SESSION_BUS_ADDRESS=$READY_LINE
}

# Prints the symbols that a library exports, with their kinds, as abi/ records them.
exported_symbols()
{
    nm --dynamic --defined-only "$1" | sed -E 's/^[0-9a-f]+ //' | LC_ALL=C sort
}

# Sets EMULATOR to the words that start a program for 32-bit ARM, as cmake/toolchain-armhf.cmake does. Arguments:
# folders in which the program's own libraries are.
set_emulator()
{
    local root folder libraries=
    root=$("$PROJECT/scripts/setup-armhf" --root)
    for folder in "$@" "$root/lib/arm-linux-gnueabihf" "$root/usr/lib/arm-linux-gnueabihf"; do
        libraries+=${libraries:+:}$folder
    done
    # shellcheck disable=SC2034 # for the scripts that include this one
    EMULATOR=(qemu-arm-static "$root/lib/ld-linux-armhf.so.3" --library-path "$libraries")
}
