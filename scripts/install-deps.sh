#!/usr/bin/env bash
# Installs the Debian packages Brisel needs, once; later calls find them and return at once.
#   install-deps.sh run    what building and running the Linux shell needs
#   install-deps.sh test   that, plus the test, benchmark and fuzzing tools
set -euo pipefail

run_packages=(cmake ninja-build g++ pkg-config nlohmann-json3-dev libcurl4-openssl-dev libicu-dev libssl-dev
              libgtk-3-dev libwebkit2gtk-4.1-dev libx11-xcb-dev libxfixes-dev libxkbcommon-x11-dev libatspi2.0-dev xvfb xauth
              fonts-noto-cjk)
test_packages=(libgtest-dev libgmock-dev libbenchmark-dev clang libclang-rt-14-dev libxtst-dev x11-xkb-utils xkb-data dbus-daemon at-spi2-core openbox)

packages=("${run_packages[@]}")
[ "${1:-run}" = test ] && packages+=("${test_packages[@]}")
command -v node >/dev/null || packages+=(nodejs)

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
