#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# Which folder may include which: fails for an include that points upward, reaches into another target's
# insides or closes a circle, and for a folder that has grown too large.
set -eu
cd "$(dirname "$0")/.."
exec python3 scripts/arrows.py "$@"
