#!/usr/bin/env bash
# Mutation testing: how many planted faults the test suite catches.
#
# Plants the faults listed in scripts/mutants.txt one at a time, rebuilds incrementally in its
# own build folder (build/mutants, the default preset, with ccache), runs the whole default test
# suite, and puts the file back. A fault is "killed" when a test fails with it (twice) and passes
# without it, or when the run exceeds its time-out (a hang); "survived" when every test passes;
# "does not build" when it breaks the build, and "undecided" when the only failures were of
# tests that fail without the fault too: those two are left out of the score. The tree is put
# back on exit and on interrupt, and a file a killed run left behind is put back on the next.
# Not part of CI: a full run takes half an hour or more on two cores.
#
#   scripts/mutants.sh           every fault, then the score
#   scripts/mutants.sh 3 17      only faults 3 and 17
#   scripts/mutants.sh --list    the numbered list of faults
#
# MUTANTS_RUN_TIMEOUT (seconds) bounds one test run; by default four times the unmutated run,
# and at least 180 s. Logs of every build and test run stay in build/mutants/logs.
set -euo pipefail
shopt -u patsub_replacement 2>/dev/null || true  # "&" in a replacement is just "&"
cd "$(dirname "$0")/.."

table=scripts/mutants.txt
build=build/mutants
saved=$build/saved  # the original of the file a fault is planted in, while it is
logs=$build/logs

die() {
    echo "mutants: $*" >&2
    exit 2
}

# --- The list ---------------------------------------------------------------------------------

files=() originals=() replacements=() descriptions=()

trimmed() {
    local text=$1
    text=${text#"${text%%[![:space:]]*}"}
    printf '%s' "${text%"${text##*[![:space:]]}"}"
}

load_table() {
    local line row=0 rest field fields
    while IFS= read -r line || [[ -n $line ]]; do
        [[ $line =~ ^[[:space:]]*(#|$) ]] && continue
        row=$((row + 1))
        fields=()
        rest=$line
        while [[ $rest == *'¦'* ]]; do
            fields+=("$(trimmed "${rest%%'¦'*}")")
            rest=${rest#*'¦'}
        done
        fields+=("$(trimmed "$rest")")
        ((${#fields[@]} == 4)) || die "fault $row in $table does not have four fields: $line"
        [[ -n ${fields[0]} && -n ${fields[1]} && -n ${fields[3]} ]] || die "fault $row in $table has an empty field"
        field=${fields[1]}
        files+=("${fields[0]}")
        originals+=("${field//↵/$'\n'}")
        replacements+=("${fields[2]//↵/$'\n'}")
        descriptions+=("${fields[3]}")
    done <"$table"
    ((row > 0)) || die "no faults in $table"
}

# The number of times the fault's original text occurs in its file.
occurrences() {
    local n=$1 content without
    IFS= read -r -d '' content <"${files[n]}" || true
    without=${content//"${originals[n]}"/}
    echo $(((${#content} - ${#without}) / ${#originals[n]}))
}

# Stops before anything is planted when a fault no longer matches the code exactly once.
check_applies() {
    local n=$1 file=${files[$1]} count
    [[ -f $file ]] || die "fault $((n + 1)) no longer applies: $file does not exist"
    count=$(occurrences "$n")
    ((count > 0)) || die "fault $((n + 1)) no longer applies: text not found in $file"
    ((count == 1)) || die "fault $((n + 1)) is ambiguous: its text occurs $count times in $file"
}

# --- Planting and restoring -------------------------------------------------------------------

plant() {
    local n=$1 file=${files[$1]} content
    mkdir -p "$saved"
    cp "$file" "$saved/original"
    printf '%s' "$file" >"$saved/path"
    IFS= read -r -d '' content <"$file" || true
    printf '%s' "${content/"${originals[n]}"/"${replacements[n]}"}" >"$file"
}

# Puts back the file of the planted fault, also one left behind by a run that was killed. The
# copy gets a new modification time, so the next build recompiles what the fault touched.
restore() {
    [[ -f $saved/path ]] || return 0
    local file
    file=$(<"$saved/path")
    cp "$saved/original" "$file"
    rm -f "$saved/original" "$saved/path"
}

job=
stop() {
    # A build or test run has a process group of its own; it goes whole.
    [[ -n $job ]] && kill -TERM -- "-$job" 2>/dev/null
    echo >&2
    echo "mutants: interrupted; the tree is restored" >&2
    exit 130
}

# --- Building and testing ---------------------------------------------------------------------

configure() {
    [[ -f $build/CMakeCache.txt ]] && return 0
    local launcher=()
    if command -v ccache >/dev/null; then
        launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    cmake --preset default -B "$build" "${launcher[@]}" >"$logs/configure.log" 2>&1 ||
        die "configuring $build failed; see $logs/configure.log"
}

# Runs a command in a process group of its own, appending its output to `log`, so that an
# interrupt can stop it at once.
in_own_group() {
    local log=$1 status=0
    shift
    setsid "$@" >>"$log" 2>&1 </dev/null &
    job=$!
    wait "$job" || status=$?
    job=
    return "$status"
}

build_all() {
    in_own_group "$1" cmake --build "$build" -j2
}

# ctest with `arguments`; a run that exceeds `run_timeout` is stopped whole and ends with 124.
ctest_bounded() {
    local log=$1
    shift
    in_own_group "$log" timeout --kill-after=15 "$run_timeout" \
        ctest --test-dir "$build" --output-on-failure --timeout 120 "$@"
}

# The last failed test named in a ctest log.
last_failure() {
    sed -n 's/^[[:space:]]*[0-9]* - \(.*\) (\(Failed\|Timeout\|SEGFAULT\|Subprocess aborted\|Child aborted\|Exception\).*/\1/p' "$1" | tail -1
}

# Sets `verdict` (and `detail`) for fault n, which is planted and built. The whole suite runs,
# stopping at its first failure. A failure counts only when the failed test fails again with
# the fault and then passes without it; a test that fails either way is flaky on this machine
# now, and the fault is tried once more before it is called undecided.
judge() {
    local n=$1 number=$(($1 + 1)) attempt status failed
    local log=$logs/$number.test.log
    : >"$log"
    for attempt in 1 2; do
        status=0
        ctest_bounded "$log" -j2 --stop-on-failure || status=$?
        if ((status == 0)); then
            verdict=survived
            return
        fi
        if ((status == 124 || status == 137)); then
            verdict=killed detail=time-out
            return
        fi
        failed=$(last_failure "$log")
        echo "=== $failed once more, with the fault" >>"$log"
        if ctest_bounded "$log" --rerun-failed; then
            flaky+=("$failed")
            continue
        fi
        echo "=== $failed without the fault" >>"$log"
        restore
        build_all "$logs/$number.build.log" || die "the code does not build without fault $number"
        if ctest_bounded "$log" --rerun-failed; then
            verdict=killed detail=$failed
            return
        fi
        flaky+=("$failed")
        if ((attempt == 1)); then
            plant "$n"
            build_all "$logs/$number.build.log" || die "fault $number built once and not again"
        fi
    done
    verdict=undecided
}

duration() {
    printf '%dm%02ds' $(($1 / 60)) $(($1 % 60))
}

# --- Main -------------------------------------------------------------------------------------

load_table
total=${#files[@]}

if [[ ${1:-} == --list ]]; then
    for ((n = 0; n < total; ++n)); do
        printf '%3d  %-45s %s\n' $((n + 1)) "${files[n]}" "${descriptions[n]}"
    done
    exit 0
fi

selected=()
if (($# == 0)); then
    for ((n = 0; n < total; ++n)); do selected+=("$n"); done
else
    for argument in "$@"; do
        [[ $argument =~ ^[0-9]+$ ]] && ((argument >= 1 && argument <= total)) ||
            die "no fault $argument: faults are numbered 1 to $total (scripts/mutants.sh --list)"
        selected+=($((argument - 1)))
    done
fi

mkdir -p "$logs"
exec 9>"$build/lock"
flock -n 9 || die "another scripts/mutants.sh is running"
trap restore EXIT
trap stop INT TERM HUP
if [[ -f $saved/path ]]; then
    echo "mutants: restoring $(<"$saved/path"), left with a fault by an interrupted run"
    restore
fi
for n in "${selected[@]}"; do check_applies "$n"; done

started=$SECONDS
echo "mutants: building and testing the code as it is"
configure
: >"$logs/baseline.build.log"
build_all "$logs/baseline.build.log" || die "the code does not build as it is; see $logs/baseline.build.log"
run_timeout=${MUTANTS_RUN_TIMEOUT:-1800}
baseline_log=$logs/baseline.test.log
: >"$baseline_log"
baseline_start=$SECONDS
if ! ctest_bounded "$baseline_log" -j2; then
    echo "=== the failed tests once more" >>"$baseline_log"
    ctest_bounded "$baseline_log" --rerun-failed ||
        die "the test suite fails without any fault planted; see $baseline_log"
    echo "mutants: warning: $(last_failure "$baseline_log") failed once without any fault"
fi
baseline=$((SECONDS - baseline_start))
if [[ -z ${MUTANTS_RUN_TIMEOUT:-} ]]; then
    run_timeout=$((baseline * 4 > 180 ? baseline * 4 : 180))
fi
echo "mutants: the suite passes in ${baseline}s; each run may take ${run_timeout}s"
echo

killed=0 survived=0 broken=0 undecided=0 survivors=()
for n in "${selected[@]}"; do
    number=$((n + 1))
    fault_start=$SECONDS
    verdict= detail= flaky=()
    plant "$n"
    : >"$logs/$number.build.log"
    if ! build_all "$logs/$number.build.log"; then
        verdict="does not build"
        broken=$((broken + 1))
    else
        judge "$n"
        case $verdict in
        killed) killed=$((killed + 1)) ;;
        survived) survived=$((survived + 1)) survivors+=("$number") ;;
        undecided) undecided=$((undecided + 1)) ;;
        esac
    fi
    restore
    printf '%3d  %-14s %s' "$number" "$verdict" "${descriptions[n]}"
    [[ -z $detail ]] || printf '  [%s]' "$detail"
    ((${#flaky[@]} == 0)) || printf '  [flaky here, failing with and without the fault or only once: %s]' "${flaky[*]}"
    printf '  (%ds)\n' $((SECONDS - fault_start))
done

scored=$((killed + survived))
echo
if ((scored > 0)); then
    percent=$(awk -v k="$killed" -v s="$scored" 'BEGIN { printf "%.1f", 100 * k / s }')
    echo "score: $killed / $scored killed ($percent %)"
else
    echo "score: no fault could be judged"
fi
((broken == 0)) || echo "$broken fault(s) did not build and are not counted"
((undecided == 0)) || echo "$undecided fault(s) met only flaky failures and are not counted"
((survived == 0)) || echo "survived: ${survivors[*]}"
echo "time: $(duration $((SECONDS - started)))"
