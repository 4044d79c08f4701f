#!/bin/sh
# Runs one test program in a world of its own: a fresh HOME, XDG folders and temporary
# folder under a throw-away directory, no display (offscreen), and a private D-Bus session
# bus that ends with the test. Nothing touches the developer's own home, display or bus.
# Set KI_KEEP_TEST_HOME=1 to keep the directory for a look afterwards.
set -eu

root=$(mktemp -d "${TMPDIR:-/tmp}/kastrel-test.XXXXXX")
if [ "${KI_KEEP_TEST_HOME:-0}" = 1 ]; then
    echo "test home kept at $root" >&2
else
    trap 'chmod -R u+rwX "$root" 2>/dev/null; rm -rf "$root"' EXIT INT TERM
fi

mkdir -p "$root/home" "$root/data" "$root/config" "$root/cache" "$root/tmp" "$root/runtime"
chmod 700 "$root/runtime" "$root/tmp"
export HOME="$root/home"
export XDG_DATA_HOME="$root/data"
export XDG_CONFIG_HOME="$root/config"
export XDG_CACHE_HOME="$root/cache"
export XDG_RUNTIME_DIR="$root/runtime"
export XDG_DATA_DIRS="$root/system-data"
export TMPDIR="$root/tmp"
export QT_QPA_PLATFORM="${QT_QPA_PLATFORM:-offscreen}"
unset DISPLAY WAYLAND_DISPLAY DBUS_SESSION_BUS_ADDRESS

here=$(cd "$(dirname "$0")" && pwd)
dbus-run-session --config-file="$here/session.conf" -- "$@"
