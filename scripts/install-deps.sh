#!/usr/bin/env bash
# Installs every Debian package the project needs: the build, the tests
# (including the real MariaDB server they start) and the benchmarks.
# Safe to run again; it only installs what is missing.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config git
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  libsqlite3-dev sqlite3
  mdbtools mdbtools-dev
  libmariadb-dev mariadb-server mariadb-client
  uuid-dev
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if ((${#missing[@]})); then
  sudo_cmd=()
  [[ $(id -u) -ne 0 ]] && sudo_cmd=(sudo)
  "${sudo_cmd[@]}" apt-get update -qq
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
