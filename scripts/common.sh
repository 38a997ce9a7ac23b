# Shared by scripts/run, scripts/test and scripts/bench: installs what is missing and builds.
# Sourced, not run.

EQ_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
EQ_BUILD=${EQ_BUILD:-$EQ_ROOT/build}

# Debian 12 packages the project builds, runs and tests with.
EQ_PACKAGES=(
    build-essential cmake pkg-config
    qtbase5-dev qtdeclarative5-dev qtdeclarative5-dev-tools qttools5-dev-tools
    qml-module-qtquick2 qml-module-qtquick-window2 qml-module-qtquick-layouts
    qml-module-qtquick-controls2 qml-module-qtquick-shapes qml-module-qttest
    libdbus-1-dev dbus dbus-bin
    alsa-utils libasound2-dev
    libgl1-mesa-dri libglx-mesa0 libegl-mesa0
    xvfb xauth x11-utils xdotool imagemagick matchbox-window-manager
    util-linux systemd
)

eq_install_packages() {
    local missing=()
    local pkg
    for pkg in "$@"; do
        dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'ok installed' || missing+=("$pkg")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Installing: ${missing[*]}"
    local sudo=()
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    "${sudo[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

# eq_build [extra cmake arguments...]
eq_build() {
    cmake -S "$EQ_ROOT" -B "$EQ_BUILD" "$@" >/dev/null
    cmake --build "$EQ_BUILD" -j "$(nproc)"
}
