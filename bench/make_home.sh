#!/usr/bin/env bash
# Builds a synthetic home for the cleaner benchmark: FILES files spread over FOLDERS folders
# (two levels under a handful of top-level folders), sparse, with a few heavy files and media,
# caches, logs, downloads and a temporary folder, and a spread of modification dates.
# Usage: bench/make_home.sh HOME [FILES] [FOLDERS]    (defaults: 300000 files, 20000 folders)
set -euo pipefail
home=$1
files=${2:-300000}
folders=${3:-20000}
mkdir -p "$home"
now=$(date +%s)

# Folder names: top/sub, about 100 subfolders per top-level folder.
tops=(Documents Projects Videos Music Pictures Downloads .cache .local/state tmp Games .config)
awk -v folders="$folders" -v tops="${tops[*]}" 'BEGIN {
    n = split(tops, top, " ")
    for (i = 0; i < folders; i++) printf "%s/d%03d/s%05d\n", top[i % n + 1], int(i / n) % 1000, i
}' | (cd "$home" && xargs mkdir -p)

# Files: mostly small, one in 500 heavy (over 10 MiB), one in 2000 media (over 50 MiB); the
# small ones in a few size classes and the dates in 20 classes, so that each class is one batch.
lists=$(mktemp -d)
awk -v files="$files" -v folders="$folders" -v tops="${tops[*]}" -v lists="$lists" 'BEGIN {
    n = split(tops, top, " ")
    split(".txt .log .bin .jpg .mp4 .iso .tmp .dat .json .mkv", ext, " ")
    srand(42)
    for (i = 0; i < files; i++) {
        f = int(rand() * folders)
        e = i % 2000 == 0 ? ".mp4" : ext[i % 10 + 1]
        path = sprintf("%s/d%03d/s%05d/file%06d%s", top[f % n + 1], int(f / n) % 1000, f, i, e)
        if (i % 2000 == 0) size = 60 * 1048576 + i
        else if (i % 500 == 0) size = 12 * 1048576 + i
        else size = 4096 * int(rand() * 16)
        print path > (lists "/size-" size)
        print path > (lists "/age-" int(rand() * 20) * 10)
    }
}'
cd "$home"
for list in "$lists"/size-*; do
    xargs touch <"$list"
    xargs truncate -s "${list##*/size-}" <"$list"
done
for list in "$lists"/age-*; do
    xargs touch -m -d "@$((now - ${list##*/age-} * 86400))" <"$list"
done
rm -rf "$lists"
echo "$home: $(find "$home" -type f | wc -l) files in $(find "$home" -type d | wc -l) folders"
