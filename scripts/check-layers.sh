#!/usr/bin/env bash
# Fails when a source folder includes one it may not: includes run from the
# top of the table below downward only (docs/architecture.md explains the
# layers). Usage: scripts/check-layers.sh [SOURCE_ROOT]
set -euo pipefail
root=${1:-$(cd "$(dirname "$0")/.." && pwd)}

declare -A allowed=(
    [platform]=""
    [messages]="platform"
    [log]="platform"
    [cache]="platform log"
    [timeline]="platform messages log"
    [project]="platform messages log timeline"
    [journal]="platform messages log"
    [media]="platform messages log cache"
    [engine]="platform messages log timeline media"
    [export]="platform messages log media engine"
    [player]="platform messages log cache media engine export"
    [framework]="platform messages log cache timeline project journal media engine export player"
    [host]="platform messages log cache timeline project journal media engine export player framework"
)

status=0
for folder in "$root"/src/*/; do
    name=$(basename "$folder")
    if [ -z "${allowed[$name]+set}" ]; then
        echo "check-layers: src/$name has no row in the layer table" >&2
        status=1
        continue
    fi
    while IFS= read -r line; do
        file=${line%%:*}
        target=$(sed -n 's/.*#include "\([a-z_]*\)\/.*/\1/p' <<<"$line")
        [ -n "$target" ] && [ "$target" != "$name" ] || continue
        if [[ " ${allowed[$name]} " != *" $target "* ]]; then
            echo "check-layers: ${file#"$root"/} includes $target/, above or beside src/$name" >&2
            status=1
        fi
    done < <(grep -Hn '#include "' "$folder"*.h "$folder"*.cpp 2>/dev/null || true)
done
[ $status -eq 0 ] && echo "check-layers: every include runs downward"
exit $status
