#!/usr/bin/env bash
# Usage: check-install.sh BUILD_DIR CONSUMER_SOURCE_DIR
set -euo pipefail
build=$1
consumer=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" > "$work/install.log"

# find_package(vx)
cmake -S "$consumer" -B "$work/cmake-build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" > "$work/configure.log"
cmake --build "$work/cmake-build" > "$work/build.log"
LD_LIBRARY_PATH="$prefix/lib" "$work/cmake-build/consumer"

# pkg-config
PKG_CONFIG_PATH="$prefix/lib/pkgconfig" c++ -std=c++17 "$consumer/consumer.cpp" -o "$work/consumer-pc" \
  $(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --cflags --libs vx)
LD_LIBRARY_PATH="$prefix/lib" "$work/consumer-pc"
