#!/usr/bin/env bash
# layers.sh ROOT: holds the includes of ROOT/src against the table of layers in ROOT/docs/ARCHITECTURE.md. Each folder
# with sources has a row there, each row names only rows above it, and a file includes only what its row allows.
# Says each thing that is wrong in a line.
set -euo pipefail

check() { # ROOT
    { (cd "$1/src" && find . -type f -printf 'file %P\n')
      sed -nE 's/^\| (`.*)\|$/row \1/p' "$1/docs/ARCHITECTURE.md" | grep -E '^row .*\|.*\|.*\|'
      cd "$1/src" && grep -rE --include='*.h' --include='*.cpp' '^ *# *include' . | sed 's,^\./,include ,'; } | awk '
    function complain(text) { print text; wrong = 1 }
    function family(header) { # what a header that is not ours belongs to; nothing for the standard library
        if (header ~ /^Q[A-Z]/) return "Qt"
        if (header ~ /^(pipewire|spa)\//) return "PipeWire"
        if (header ~ /^GL\//) return "OpenGL"
        if (header ~ /^xcb\//) return "XCB"
        if (header ~ /^fontconfig\//) return "fontconfig"
        if (header == "sndfile.h") return "libsndfile"
        if (header == "experimental/simd" || header == "xmmintrin.h" || header !~ /[.\/]/) return ""
        if (header ~ /^(fcntl|netdb|poll|pthread|pwd|unistd|sys\/[a-z]+)\.h$/) return "POSIX"
        return "a library that the check does not know"
    }
    function folderOf(path) { sub(/\/[^\/]*$/, "", path); return path }
    $1 == "file" { ours[$2] = 1; next }
    $1 == "row" {
        split(substr($0, 5), cell, "|"); count = split(cell[1], names, "`")
        for (n = 2; n <= count; n += 2) {
            known[names[n]] = 1
            allowed = split(cell[3], uses, "`")
            for (u = 2; u <= allowed; u += 2) {
                if (!(uses[u] in seen)) complain("the row of " names[n] " names " uses[u] ", which is not above it")
                may[names[n], uses[u]] = 1
            }
            if (cell[3] ~ /all/) mayAll[names[n]] = 1
            outside[names[n]] = cell[4]
            seen[names[n]] = 1
        }
        next
    }
    {
        file = $2; sub(/:.*/, "", file)
        folder = folderOf(file)
        if (!match($0, /["<][^">]*[">]/)) next
        header = substr($0, RSTART + 1, RLENGTH - 2); used = folderOf(header)
        if (substr($0, RSTART, 1) == "\"" || header in ours) {
            if (used != folder && !((folder, used) in may) && !(folder in mayAll)) complain(file ": may not use " used)
        } else {
            of = family(header)
            if (of != "" && index(outside[folder], of) == 0) complain(file ": may not include <" header ">")
        }
    }
    END { for (file in ours)
              if (file ~ /\.(h|cpp)$/ && !(folderOf(file) in known)) complain(file ": its folder has no row in the table of layers")
          if (length(seen) < 3) complain("no table of layers found"); exit wrong }'
}

# A check that cannot fail shows nothing: each kind of fault is put into a small tree, and must be found.
check_catches() { # WHAT FILE LINE
    local tree
    tree=$(mktemp -d)
    mkdir -p "$tree/docs" "$tree/src/low" "$tree/src/high"
    printf '| `low` | | | |\n| `high` | | `low` | Qt |\n| `top` | | `high` | |\n' >"$tree/docs/ARCHITECTURE.md"
    printf '#include "low/A.h"\n#include <QString>\n' >"$tree/src/high/B.h"
    printf '#include <vector>\n' >"$tree/src/low/A.h"
    (check "$tree") || { echo "the sound tree was found wrong"; return 1; }
    mkdir -p "$tree/$(dirname "$2")"
    printf '%s\n' "$3" >>"$tree/$2"
    if (check "$tree") >/dev/null; then echo "not found: $1"; return 1; fi
    rm -rf "$tree"
}
check_catches "an include from above" src/low/A.h '#include "high/B.h"'
check_catches "an include from above in angle brackets" src/low/A.h '#include <high/B.h>'
check_catches "another library" src/low/A.h '#include <QString>'
check_catches "an unknown library" src/high/B.h '#include <other.h>'
check_catches "a system header" src/low/A.h '#include <unistd.h>'
check_catches "a folder without a row" src/low/room/C.h '#pragma once'
check_catches "a row that names one below it" docs/ARCHITECTURE.md '| `last` | | `none` | |'
check "$1"
