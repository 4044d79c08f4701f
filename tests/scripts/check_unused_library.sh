#!/usr/bin/env bash
# No symbol that one library defines may be used by the other archives: the export does not run
# the target's document classes, and the windows do not stand on the command line. Reads the
# static archives with GNU nm.
#
#   check_unused_library.sh NM LIBRARY_ARCHIVE ARCHIVE...
set -euo pipefail

nm=$1
library=$2
shift 2

defined=$("$nm" --defined-only "$library" | sed -nE 's/^[0-9a-fA-F]+ [TDBR] //p' | sort -u)
if [ -z "$defined" ]; then
    echo "no symbol defined in $library: the check reads nothing" >&2
    exit 1
fi
used=$("$nm" --undefined-only "$@" | sed -nE 's/^ +[Uw] //p' | sort -u)
both=$(comm -12 <(echo "$defined") <(echo "$used"))
if [ -n "$both" ]; then
    echo "$* use $library, which they must not link:" >&2
    echo "$both" | c++filt >&2
    exit 1
fi
echo "none of the $(wc -l <<<"$defined") symbols of $library is used in $*"
