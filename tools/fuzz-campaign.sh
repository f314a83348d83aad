#!/usr/bin/env bash
# A long fuzzing campaign: builds the fuzz preset, then runs each parser's fuzz target on its own
# growing corpus (build/fuzz/campaign/TARGET, seeded like the CTest replay) for a time budget or a
# number of runs, two targets at a time, and prints one line per target: runs, coverage (edges
# and features), corpus size and findings (inputs that crashed, hung over 1 s, leaked or ran out
# of memory, kept beside the corpus). Exits non-zero when anything was found.
# Usage: tools/fuzz-campaign.sh [-t SECONDS | -r RUNS] [-j JOBS] [TARGET...]
set -euo pipefail
cd "$(dirname "$0")/.."
budget=(-max_total_time=120)
jobs=2
while getopts "t:r:j:" flag; do
    case $flag in
    t) budget=(-max_total_time="$OPTARG") ;;
    r) budget=(-runs="$OPTARG") ;;
    j) jobs=$OPTARG ;;
    *) exit 2 ;;
    esac
done
shift $((OPTIND - 1))

. tools/packages.sh
kv_build fuzz
targets=("$@")
if [ "${#targets[@]}" = 0 ]; then
    for file in build/fuzz/fuzz/targets/*.sh; do
        targets+=("$(basename "$file" .sh)")
    done
fi

# run_target NAME: one campaign, its libFuzzer log in build/fuzz/campaign/NAME.log.
run_target() {
    local name=$1 fuzzer options seeds
    . "build/fuzz/fuzz/targets/$name.sh"
    local work="build/fuzz/campaign/$name"
    mkdir -p "$work/corpus" "$work/findings"
    local seed file
    for seed in "${seeds[@]}"; do
        [ -e "$seed" ] || continue
        find "$seed" -type f -print0 | while IFS= read -r -d '' file; do
            cp "$file" "$work/corpus/$(sha1sum <"$file" | cut -c1-40)"
        done
    done
    ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
        "$fuzzer" "${options[@]}" "${budget[@]}" -print_final_stats=1 \
        -artifact_prefix="$work/findings/" "$work/corpus" >"build/fuzz/campaign/$name.log" 2>&1 ||
        true
}
export -f run_target
export budget_words="${budget[*]}"

mkdir -p build/fuzz/campaign
start=$SECONDS
printf '%s\n' "${targets[@]}" |
    xargs -P "$jobs" -I{} bash -c 'budget=($budget_words); run_target "$1"' _ {}

printf '%-22s %12s %8s %8s %8s %s\n' target runs edges features corpus findings
found=0
for name in "${targets[@]}"; do
    log="build/fuzz/campaign/$name.log"
    runs=$(grep -o 'stat::number_of_executed_units: [0-9]*' "$log" | grep -o '[0-9]*$' || echo '?')
    last=$(grep -E '^#[0-9]+' "$log" | tail -n 1)
    edges=$(grep -o 'cov: [0-9]*' <<<"$last" | grep -o '[0-9]*$' || echo '?')
    features=$(grep -o 'ft: [0-9]*' <<<"$last" | grep -o '[0-9]*$' || echo '?')
    corpus=$(find "build/fuzz/campaign/$name/corpus" -type f | wc -l)
    findings=$(find "build/fuzz/campaign/$name/findings" -type f | wc -l)
    found=$((found + findings))
    printf '%-22s %12s %8s %8s %8s %s\n' "$name" "$runs" "$edges" "$features" "$corpus" \
        "$findings"
done
echo "budget: ${budget[*]} per target, $jobs at a time; $((SECONDS - start)) s in all"
[ "$found" = 0 ]
