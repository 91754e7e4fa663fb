# shellcheck shell=bash
# Sourced by the commands at the top: installing what is missing, and building. Works in the project's folder.

# What the build and the tests need, as Debian and Ubuntu call it.
debian_packages=(
  g++ clang clang-19 libc++-19-dev clang-format clang-tidy libclang-rt-dev cmake ninja-build ccache mold pkg-config git
  nlohmann-json3-dev libssl-dev libutf8proc-dev qt6-base-dev libsecret-1-dev libplist-dev
  libqrcodegencpp-dev libzbar-dev libcli11-dev python3-cryptography-vectors nodejs dbus-daemon gnome-keyring
  libsystemd-dev libxcb1-dev libxcb-ewmh-dev libxcb-icccm4-dev libxcb-xtest0-dev
  libgtk-3-dev libgtk-4-dev libatspi2.0-dev xvfb openbox at-spi2-core dunst zenity gcr x11-utils libglib2.0-bin
  qt6-translations-l10n xdg-desktop-portal-gtk policykit-1-gnome xdg-utils util-linux
  desktop-file-utils man-db shellcheck fonts-dejavu-core adwaita-icon-theme tint2
  libboost1.81-dev libsqlite3-dev chromium
  libgtest-dev libgmock-dev librapidcheck-dev libbenchmark-dev etcd-server etcd-client
  sway wtype xwayland xfwm4 xfconf marco mate-desktop-common mate-settings-daemon-common
  openssh-client openssh-server zsh fish
)
# What only the desktops of ./test --long need, and the neighbour of benchmarks/run: large, and of no use for anything
# else here.
# shellcheck disable=SC2034  # ./test adds them.
debian_packages_of_large_desktops=(
  weston kwin-wayland plasma-workspace kactivitymanagerd xdg-desktop-portal-kde polkit-kde-agent-1 gnome-shell gjs
  plasma-desktop qtwayland5 qt6-wayland libnotify-bin xfce4-notifyd mate-notification-daemon lxqt-notificationd
  kdeconnect
)
# What the phone's page is tried in besides Chromium.
# shellcheck disable=SC2034  # ./test adds them.
debian_packages_of_browsers=(firefox-esr webkit2gtk-driver gir1.2-webkit2-4.1 python3-gi)
# Where Node did not come from the distribution it has an npm of its own, and theirs would not go with it.
command -v npm >/dev/null || debian_packages+=(npm)

# Of these, what only tests need: not installed, and not built, where only_to_run is set.
debian_packages_of_tests=" clang clang-19 libc++-19-dev clang-format clang-tidy libclang-rt-dev git libzbar-dev
  python3-cryptography-vectors
  libgtk-4-dev libatspi2.0-dev gnome-keyring dunst zenity gcr x11-utils qt6-translations-l10n xdg-desktop-portal-gtk policykit-1-gnome
  desktop-file-utils man-db shellcheck tint2 chromium
  libgtest-dev libgmock-dev librapidcheck-dev libbenchmark-dev etcd-server etcd-client
  sway wtype xwayland xfwm4 xfconf marco mate-desktop-common mate-settings-daemon-common
  openssh-client openssh-server zsh fish "
only_to_run=""

# The same as Homebrew calls it.
homebrew_packages=(
  cmake ninja ccache pkg-config nlohmann-json openssl@3 utf8proc qt qr-code-generator zbar node googletest rapidcheck
  google-benchmark cli11 boost sqlite
)

missing_debian_packages() {
  local package
  for package in "${debian_packages[@]}"; do
    [[ -z $only_to_run || $debian_packages_of_tests != *[[:space:]]"$package"[[:space:]]* ]] || continue
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' || echo "$package"
  done
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

install_missing() {
  if command -v apt-get >/dev/null; then
    local missing
    mapfile -t missing < <(missing_debian_packages)
    [ "${#missing[@]}" -gt 0 ] || return 0
    echo "Installing: ${missing[*]}" >&2
    # Tests start members of their own: the packages' services are not wanted.
    local package
    for package in etcd-server:etcd openssh-server:ssh; do
      if [[ " ${missing[*]} " == *" ${package%:*} "* ]] && command -v systemctl >/dev/null; then
        as_root systemctl mask "${package#*:}.service" >&2 || true
      fi
    done
    as_root apt-get update -qq >&2
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
  elif command -v brew >/dev/null; then
    local package
    for package in "${homebrew_packages[@]}"; do
      brew list --versions "$package" >/dev/null 2>&1 || brew install "$package" >&2
    done
  elif ! command -v cmake >/dev/null || ! command -v ninja >/dev/null; then
    echo "Please install these with your system's package manager, by whatever names it gives them:" >&2
    printf '  %s\n' "${debian_packages[@]}" >&2
    exit 1
  fi
}

# One for each two gigabytes of memory, at most one for each core.
jobs_here() {
  local cores memory
  cores=$(getconf _NPROCESSORS_ONLN)
  memory=$(awk '/^MemTotal:/ {print int($2 / 2097152) + 1}' /proc/meminfo 2>/dev/null || echo "$cores")
  echo $((memory < cores ? memory : cores))
}

# The folder below build/ for a preset. Without tests it is another one, since a folder keeps what it was configured for.
folder_of() {
  echo "build/$1${only_to_run:+-without-tests}"
}

configure() {
  local folder options=()
  folder=$(folder_of "$1")
  [ -z "$only_to_run" ] || options=(-DQUILLARD_TESTS=OFF -DQUILLARD_BENCHMARKS=OFF -DCMAKE_UNITY_BUILD=ON)
  [ -f "$folder/build.ninja" ] || cmake --preset "$1" -B "$folder" "${options[@]}" >&2
}

# configure_and_build PRESET [TARGET...]
configure_and_build() {
  local preset=$1; shift
  configure "$preset" || return
  cmake --build "$(folder_of "$preset")" -j "$(jobs_here)" ${1:+--target "$@"} >&2
}

# The corpus of a fuzz target: recorded_desktop_fuzz starts from the folder recorded-desktop, wherever below tests/fuzz.
fuzz_corpus() {
  local name=${1%_fuzz}
  find tests/fuzz -type d -path "*/corpus/${name//_/-}"
}

report_coverage() {
  debian_packages+=(gcovr)
  install_missing
  gcovr --root . --filter src/ --exclude '.*Test\.cpp' --exclude src/platform/simulated --print-summary \
    --output build/coverage/report.txt build/coverage
  echo "Line by line: build/coverage/report.txt"
}
