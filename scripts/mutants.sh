#!/usr/bin/env bash
# Mutation testing: how many planted faults the test suite catches.
#
# Plants the faults listed in scripts/mutants.txt one at a time, rebuilds incrementally in its
# own build folder (build/mutants, the default preset, with ccache), runs the whole default test
# suite, and puts the file back. A fault is "killed" when a test fails or the run exceeds its
# time-out (a hang), "survived" when every test passes, and "does not build" when it breaks the
# build; those last are left out of the score. Not part of CI: a full run takes half an hour
# or more on two cores.
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

tests_pid=
stop() {
    # The test run has its own process group (timeout's); it goes whole.
    [[ -n $tests_pid ]] && kill -TERM -- "-$tests_pid" 2>/dev/null
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

build_all() {
    cmake --build "$build" -j2 >"$1" 2>&1
}

# Runs ctest with `arguments`; a run that exceeds `run_timeout` is stopped whole and ends with
# status 124.
ctest_bounded() {
    local log=$1 status=0
    shift
    timeout --kill-after=15 "$run_timeout" \
        ctest --test-dir "$build" --output-on-failure --timeout 120 "$@" >>"$log" 2>&1 &
    tests_pid=$!
    wait "$tests_pid" || status=$?
    tests_pid=
    return "$status"
}

# Runs the whole default suite, stopping at the first failure. A failed test is run once more
# on its own: one that then passes was flaky, not a catch, and the suite runs again (once).
run_tests() {
    local log=$1 status attempt
    : >"$log"
    for attempt in 1 2; do
        status=0
        ctest_bounded "$log" -j2 --stop-on-failure || status=$?
        ((status == 0 || status == 124 || status == 137)) && return "$status"
        failed=$(first_failure "$log")
        echo "=== the failed tests once more" >>"$log"
        ctest_bounded "$log" --rerun-failed || return 1
        echo "=== $failed failed once and then passed: flaky; the suite again" >>"$log"
        flaky+=("$failed")
    done
    return 0
}

# The last failed test named in a ctest log.
first_failure() {
    sed -n 's/^[[:space:]]*[0-9]* - \(.*\) (\(Failed\|Timeout\|SEGFAULT\|Subprocess aborted\|Child aborted\|Exception\).*/\1/p' "$1" | tail -1
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
build_all "$logs/baseline.build.log" || die "the code does not build as it is; see $logs/baseline.build.log"
run_timeout=${MUTANTS_RUN_TIMEOUT:-100000}
baseline_start=$SECONDS
flaky=()
run_tests "$logs/baseline.test.log" ||
    die "the test suite fails without any fault planted; see $logs/baseline.test.log"
baseline=$((SECONDS - baseline_start))
if [[ -z ${MUTANTS_RUN_TIMEOUT:-} ]]; then
    run_timeout=$((baseline * 4 > 180 ? baseline * 4 : 180))
fi
echo "mutants: the suite passes in ${baseline}s; each run may take ${run_timeout}s"
echo

killed=0 survived=0 broken=0 survivors=()
for n in "${selected[@]}"; do
    number=$((n + 1))
    fault_start=$SECONDS
    plant "$n"
    flaky=()
    if ! build_all "$logs/$number.build.log"; then
        verdict="does not build"
        broken=$((broken + 1))
    else
        status=0
        run_tests "$logs/$number.test.log" || status=$?
        if ((status == 0)); then
            verdict=survived
            survived=$((survived + 1))
            survivors+=("$number")
        elif ((status == 124 || status == 137)); then
            verdict=killed
            detail="time-out"
            killed=$((killed + 1))
        else
            verdict=killed
            detail=$(first_failure "$logs/$number.test.log")
            killed=$((killed + 1))
        fi
    fi
    restore
    printf '%3d  %-14s %s' "$number" "$verdict" "${descriptions[n]}"
    [[ $verdict == killed ]] && printf '  [%s]' "${detail:-test failure}"
    ((${#flaky[@]} == 0)) || printf '  [flaky, failed once and then passed: %s]' "${flaky[*]}"
    printf '  (%ds)\n' $((SECONDS - fault_start))
    detail=
done

scored=$((killed + survived))
echo
if ((scored > 0)); then
    percent=$(awk -v k="$killed" -v s="$scored" 'BEGIN { printf "%.1f", 100 * k / s }')
    echo "score: $killed / $scored killed ($percent %)"
else
    echo "score: none of the faults built"
fi
((broken == 0)) || echo "$broken fault(s) did not build and are not counted"
((survived == 0)) || echo "survived: ${survivors[*]}"
echo "time: $(duration $((SECONDS - started)))"
