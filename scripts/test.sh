#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs what is missing, builds the release and runs its tests.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh test
cmake --preset release
cmake --build --preset release
# Some tests wait most of the time.
ctest --preset release -j "$(($(nproc) + 2))"
