#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the tools need,
# when any is missing. Does nothing when all are present; needs root
# (or sudo) only when something must be installed.
set -euo pipefail

packages=(
  cmake ninja-build g++ clang libclang-rt-dev pkg-config make
  libgtest-dev libgmock-dev libbenchmark-dev
  libicu-dev libsqlite3-dev unixodbc-dev unixodbc odbcinst
  libc-bin locales valgrind
  libxml2-dev libxml2-utils
  icu-devtools
  libssl-dev openssl
  sqlite3
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "installing missing packages: ${missing[*]}"
if [ "$(id -u)" -eq 0 ]; then
  sudo=""
elif command -v sudo >/dev/null 2>&1; then
  sudo="sudo"
else
  echo "error: packages missing and not root: ${missing[*]}" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
