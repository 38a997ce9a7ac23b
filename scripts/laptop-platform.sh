# Stand-ins for the unit's platform, so that the whole show/minimise cycle can be tried on a laptop:
# a private system bus where none answers, and a FIFO in place of the hardware key device.
# Sourced, not run:
#   eq_platform_setup DIR    the bus (if needed) and the FIFO DIR/home-key; exports what it set up
#   eq_platform_exec CMD...  execs CMD with the FIFO at the fixed key path, in a mount namespace
#                            of its own (root only; otherwise CMD runs without the key device)
#   eq_platform_help         how to send "resume", press Home, and watch for "minimize"

# The program's own fixed key path, read from the one place it is written.
EQ_KEY_DEVICE=$(sed -n 's/.*devicePath = "\(.*\)";$/\1/p' \
    "$(dirname "${BASH_SOURCE[0]}")/../platform/inputeventthread.h")

eq_platform_setup() {
    local dir=${1:?eq_platform_setup needs a directory}
    mkdir -p "$dir/mnt" && EQ_PLATFORM_DIR=$(cd "$dir" && pwd) || return 1
    export EQ_PLATFORM_DIR
    if timeout 5 dbus-send --system --print-reply --dest=org.freedesktop.DBus / \
            org.freedesktop.DBus.GetId >/dev/null 2>&1; then
        echo "eq_platform: the system bus answers; using it."
    else
        _eq_platform_start_bus || return 1
    fi
    EQ_KEY_FIFO=$EQ_PLATFORM_DIR/home-key
    if [ ! -p "$EQ_KEY_FIFO" ]; then
        rm -f "$EQ_KEY_FIFO" && mkfifo "$EQ_KEY_FIFO" || return 1
    fi
    export EQ_KEY_FIFO
}

# The system bus's own access rules, but listening in EQ_PLATFORM_DIR, in the foreground, as the
# current user (who may monitor it, as root may monitor the real one, and who stands in for the
# service user and the control group: the program owns its control name and equalizerctl may call it).
_eq_platform_start_bus() {
    local dir=$EQ_PLATFORM_DIR
    {
        echo '<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"'
        echo ' "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">'
        echo '<busconfig>'
        echo '  <type>system</type>'
        echo "  <listen>unix:path=$dir/system_bus_socket</listen>"
        echo '  <auth>EXTERNAL</auth>'
        sed -n '/<policy[ >]/,/<\/policy>/p' /usr/share/dbus-1/system.conf
        echo "  <policy user=\"$(id -un)\">"
        echo '    <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus.Monitoring"/>'
        echo '    <allow own="zk.app.Equalizer"/>'
        echo '    <allow send_destination="zk.app.Equalizer"/>'
        echo '  </policy>'
        echo '</busconfig>'
    } >"$dir/system-bus.conf"
    rm -f "$dir/bus.address"
    dbus-daemon --config-file="$dir/system-bus.conf" --nofork --nopidfile --print-address=3 \
        3>"$dir/bus.address" >"$dir/bus.log" 2>&1 </dev/null &
    local bus_pid=$! i
    for i in $(seq 50); do
        [ -s "$dir/bus.address" ] || ! kill -0 "$bus_pid" 2>/dev/null && break
        sleep 0.1
    done
    if [ ! -s "$dir/bus.address" ]; then
        echo "eq_platform: the private system bus did not start; see $dir/bus.log" >&2
        kill "$bus_pid" 2>/dev/null
        return 1
    fi
    EQ_PLATFORM_BUS=$(head -n 1 "$dir/bus.address")
    export EQ_PLATFORM_BUS DBUS_SYSTEM_BUS_ADDRESS=$EQ_PLATFORM_BUS
    # The bus lives as long as this shell, or as the program this shell execs into.
    local owner=$BASHPID
    (while kill -0 "$owner" 2>/dev/null; do sleep 1; done; kill "$bus_pid" 2>/dev/null) \
        </dev/null >/dev/null 2>&1 &
    echo "eq_platform: no system bus answers; started a private one at $EQ_PLATFORM_BUS"
}

eq_platform_exec() {
    local why=
    if [ -z "${EQ_KEY_FIFO:-}" ] || [ ! -p "$EQ_KEY_FIFO" ]; then
        why="there is no key FIFO (run eq_platform_setup DIR first)"
    elif [ "$(id -u)" -ne 0 ]; then
        why="a private mount namespace needs root"
    elif ! unshare -m true 2>/dev/null; then
        why="unshare -m is not permitted here"
    fi
    if [ -n "$why" ]; then
        echo "eq_platform: $why; running without the Home key device." >&2
        exec "$@"
    fi
    exec unshare -m bash -c "$(declare -f _eq_platform_mount)"'; _eq_platform_mount "$@"' \
        eq_platform "$EQ_KEY_FIFO" "$EQ_KEY_DEVICE" "$EQ_PLATFORM_DIR/mnt" "$@"
}

# Runs inside the new namespace. The deepest folder of the key path that exists gets a tmpfs over
# it that shows the same entries (bind-mounted back from a staging mount) plus the missing folders,
# so nothing is created outside; the FIFO is then bind-mounted at the key path.
_eq_platform_mount() {
    local fifo=$1 key=$2 stage=$3
    shift 3
    local top=${key%/*} entry name failed=
    while [ ! -d "$top" ]; do top=${top%/*}; done
    if mount --rbind "$top" "$stage" && mount -t tmpfs -o mode=755 eq-platform "$top"; then
        for entry in "$stage"/* "$stage"/.[!.]*; do
            [ -e "$entry" ] || [ -L "$entry" ] || continue
            name=$top/${entry##*/}
            [ "$name" = "$key" ] && continue
            if [ -L "$entry" ]; then
                cp -P "$entry" "$name"
            elif [ -d "$entry" ]; then
                mkdir "$name" && mount --rbind "$entry" "$name"
            else
                : >"$name" && mount --bind "$entry" "$name"
            fi || failed="$failed ${entry##*/}"
        done
        umount -l "$stage"
        [ -n "$failed" ] && echo "eq_platform: could not carry over in $top:$failed" >&2
        mkdir -p "${key%/*}" && : >"$key" && mount --bind "$fifo" "$key" \
            || echo "eq_platform: could not place the key FIFO at $key; running without it." >&2
    else
        echo "eq_platform: could not mount over $top; running without the Home key device." >&2
    fi
    exec "$@"
}

eq_platform_help() {
    local bus= zeros
    [ -n "${EQ_PLATFORM_BUS:-}" ] && bus="DBUS_SYSTEM_BUS_ADDRESS=$EQ_PLATFORM_BUS "
    # The time stamp of a key record: two longs, zero here.
    zeros=$(printf '\\0%.0s' $(seq $(($(getconf LONG_BIT) / 4))))
    cat <<EOF
From another terminal:
  bring the equaliser back ("resume"):
    ${bus}dbus-send --system --type=signal / zk.app.Equalizer.interface.resume
  press and release Home (the first line once: it keeps the key device open between presses):
    exec 3<>${EQ_KEY_FIFO:-<key FIFO>}
    printf '${zeros}\1\0\254\0\1\0\0\0${zeros}\1\0\254\0\0\0\0\0' >&3
  change the sound as another program would (build/bin/equalizerctl --help for more):
    ${bus}build/bin/equalizerctl gain 1k +3
  watch for "minimize" to the activity manager:
    ${bus}dbus-monitor --system "type='signal',interface='zk.activity.manager.interface'"
EOF
}
