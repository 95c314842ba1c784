#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs what is missing and builds the documents into a site that any browser reads: build/release/site/index.html.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh docs
cmake --preset release -DVORNIX_DOCS=ON
cmake --build --preset release --target documents
