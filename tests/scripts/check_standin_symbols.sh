#!/usr/bin/env bash
# Every symbol the stand-in libraries define must be inside the Standin namespace: the engine
# has types and functions of the same names (KastrelItemKind, KastrelFolderCollection, ...),
# and a program that links both would otherwise hold two definitions of one name.
#
#   check_standin_symbols.sh NM ARCHIVE...
set -euo pipefail

nm=$1
shift

# "<address> <type> <name>" lines only (not the archive's member headers), with the prefixes
# of the symbols the compiler makes for a class removed: what is left starts with the name.
names=$("$nm" -C --defined-only "$@" \
    | sed -nE 's/^[0-9a-fA-F]+ [A-Za-z] //p' \
    | sed -E 's/^((vtable|typeinfo|typeinfo name|VTT|construction vtable|guard variable) for |(non-virtual |virtual |covariant return )?thunk to )+//')

if ! grep -q '^Standin::' <<<"$names"; then
    echo "no symbol of the Standin namespace found in $*: the check reads nothing" >&2
    exit 1
fi

outside=$(grep -E '^(Kastrel|Nortavel|Standin[A-Z])' <<<"$names" || true)
if [ -n "$outside" ]; then
    echo "stand-in symbols outside the Standin namespace:" >&2
    echo "$outside" >&2
    exit 1
fi
echo "every stand-in symbol is inside Standin ($(grep -c '^Standin::' <<<"$names") checked)"
