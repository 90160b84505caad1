#!/usr/bin/env bash
# Configures and builds the project into build/ (Release with assertions off
# unless BUILD_TYPE says otherwise).
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_TYPE=${BUILD_TYPE:-RelWithDebInfo}
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE="$BUILD_TYPE" >/dev/null
cmake --build build --parallel "$(nproc)"
