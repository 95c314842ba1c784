#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Writes what programs print today into the documents: the tour, the tool's help, and every other command that they show.
# Works on the build in build/release. The tour's last step, which resets a reader, needs root.
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --build --preset release
VORNIX_RECORD=1 ctest --preset release -R '^documents$'
git diff --stat -- '*.md'
