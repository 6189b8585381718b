#!/usr/bin/env bash
# Sets up a fresh Debian machine and builds everything: installs the
# packages the build and the tests need, builds the x86-64 release (library,
# tool, tests) and shows what the library makes of this processor.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(cmake ninja-build g++ g++-multilib libgtest-dev qemu-user clang binutils pkgconf)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  [ "$(id -u)" -ne 0 ] && sudo=sudo
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" > /dev/null
fi

cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release > /dev/null
ninja -C build
build/vexovc info
