#!/bin/sh
# Installs a build into a scratch prefix and builds a C99 program against it
# three ways: pkg-config, find_package with the shared and the static library.
set -e
build=$(cd "$1" && pwd)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
here=$(cd "$(dirname "$0")" && pwd)
cmake --install "$build" --prefix "$tmp/prefix" > /dev/null
libdir=$(ls -d "$tmp"/prefix/lib*/ | head -1)
PKG_CONFIG_PATH="$libdir/pkgconfig" cc -std=c99 -Wall -Werror "$here/consumer.c" -o "$tmp/pc" \
  $(PKG_CONFIG_PATH="$libdir/pkgconfig" pkg-config --cflags --libs vexovc)
LD_LIBRARY_PATH="$libdir" "$tmp/pc"
cmake -S "$here" -B "$tmp/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$tmp/prefix" > /dev/null
ninja -C "$tmp/consumer" > /dev/null
LD_LIBRARY_PATH="$libdir" "$tmp/consumer/consumer_shared"
"$tmp/consumer/consumer_static"
echo "installed library links from C99 by pkg-config and find_package"
