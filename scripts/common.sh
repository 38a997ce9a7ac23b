# Shared by scripts/run, scripts/test, scripts/bench and scripts/screenshots: installs what is
# missing, builds, and starts a private X server. Sourced, not run.

EQ_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
EQ_BUILD=${EQ_BUILD:-$EQ_ROOT/build}

# Debian 12 packages the project builds, runs and tests with.
EQ_PACKAGES=(
    build-essential cmake pkg-config
    qtbase5-dev qtdeclarative5-dev qtdeclarative5-dev-tools qttools5-dev-tools
    qml-module-qtquick2 qml-module-qtquick-window2 qml-module-qtquick-layouts
    qml-module-qtquick-shapes qml-module-qttest
    libdbus-1-dev dbus dbus-bin
    alsa-utils libasound2-dev
    libgl1-mesa-dri libglx-mesa0 libegl-mesa0
    xvfb xauth x11-utils xdotool imagemagick matchbox-window-manager
    util-linux systemd
)

# What scripts/test --arch arm64 adds: the cross compiler, the emulator, and the target's own
# libraries and QML modules (the native build machine's tools, moc and amixer among them, stay).
EQ_ARM64_PACKAGES=(
    g++-aarch64-linux-gnu qemu-user-static
    qtbase5-dev:arm64 qtdeclarative5-dev:arm64 libdbus-1-dev:arm64 libasound2-dev:arm64
    qml-module-qtquick2:arm64 qml-module-qtquick-window2:arm64 qml-module-qtquick-layouts:arm64
    qml-module-qtquick-shapes:arm64 qml-module-qttest:arm64
    libgl1-mesa-dri:arm64 libglx-mesa0:arm64 libegl-mesa0:arm64
)

# Long output goes to a log beside the build; the terminal gets one line per step, and the log's
# tail when a step fails.
eq_log() {
    mkdir -p "$EQ_BUILD/logs"
    echo "$EQ_BUILD/logs/$1.log"
}

# eq_step LOG MESSAGE COMMAND...: runs COMMAND into LOG, says MESSAGE, shows the tail on failure.
eq_step() {
    local log=$1 message=$2
    shift 2
    echo "$message (log: $log)"
    if ! "$@" >>"$log" 2>&1; then
        tail -n 30 "$log" >&2
        echo "failed: $message; the whole output is in $log" >&2
        return 1
    fi
}

eq_install_packages() {
    local missing=() pkg
    for pkg in "$@"; do
        dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'ok installed' || missing+=("$pkg")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    local sudo=() log
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    log=$(eq_log apt)
    : >"$log"
    eq_step "$log" "Updating the package lists" "${sudo[@]}" apt-get update || return 1
    eq_step "$log" "Installing ${#missing[@]} packages: ${missing[*]}" \
        env DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
}

# eq_build [--target NAME...] [extra cmake configure arguments...]: configures and builds the
# targets named (everything without --target).
eq_build() {
    local targets=() names=() log
    while [ "${1:-}" = "--target" ]; do targets+=(--target "$2"); names+=("$2"); shift 2; done
    log=$(eq_log build)
    : >"$log"
    eq_step "$log" "Configuring $EQ_BUILD" cmake -S "$EQ_ROOT" -B "$EQ_BUILD" "$@" || return 1
    eq_step "$log" "Building ${names[*]:-everything}" \
        cmake --build "$EQ_BUILD" -j "$(nproc)" "${targets[@]}" || return 1
    # Warnings stay visible even when the build succeeds.
    grep -E 'warning:' "$log" >&2 || true
}

# eq_start_xvfb LOGFILE [SIZE]: a private X server on a display number it picks itself (-displayfd),
# so two runs never collide; exports DISPLAY and EQ_XVFB_PID. The caller kills EQ_XVFB_PID.
eq_start_xvfb() {
    local log=$1 size=${2:-1280x720x24} fifo n
    fifo=$(mktemp -u)
    mkfifo "$fifo"
    Xvfb -displayfd 3 -screen 0 "$size" -nolisten tcp 3>"$fifo" >"$log" 2>&1 &
    EQ_XVFB_PID=$!
    # The number arrives once the server accepts clients; an empty read means it ended first.
    read -r -t 20 n <"$fifo" || n=
    rm -f "$fifo"
    if [ -z "$n" ]; then
        cat "$log" >&2
        echo "Xvfb did not start" >&2
        return 1
    fi
    export DISPLAY=:$n EQ_XVFB_PID
}
