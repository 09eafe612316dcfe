#!/usr/bin/env bash
# Files compiled for one level of instruction sets may hold nothing that the linker could pick for
# everybody: no weak or unique symbol in any of the object files named.
set -euo pipefail
(($# >= 4)) || { echo "there should be an object file for each of four levels, not $#"; exit 1; }
shared=$(nm -A "$@" | grep -E ' [VWu] [^ ]+$' || true)
[[ -z $shared ]] || { printf 'shared symbols:\n%s\n' "$shared"; exit 1; }
echo "$# object files share nothing"
