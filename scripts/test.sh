#!/usr/bin/env bash
# Sets up a fresh machine, builds, and runs every test (the real-server
# tests start their own throwaway MariaDB on a socket in a temp folder).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh
cd build
ctest --output-on-failure --parallel "$(nproc)"
