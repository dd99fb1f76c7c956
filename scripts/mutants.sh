#!/usr/bin/env bash
# Mutation testing: how many planted faults the test suite catches.
#
# Plants the faults listed in scripts/mutants.txt one at a time, rebuilds incrementally in its
# own build folder (build/mutants, the default preset, with ccache), runs the default test suite
# (core's unit tests first, each phase up to its first failure), and puts the file back. A fault
# is "killed" when a test (or one GoogleTest case of it) fails with the fault, fails again, and
# then passes twice without it, or when the test run exceeds its time-out (a hang); "survived"
# otherwise; "does not build" when it breaks the build, which leaves it out of the score. A test that fails without any fault is flaky on this machine
# and judges nothing for the rest of the run; the summary names it. The tree is put back on exit
# and on interrupt, and a file a killed run left behind is put back by the next run.
# Not part of CI: a full run takes a quarter of an hour or more on two cores.
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

# The failures of a ctest log, one per line: "test" or, for a test that runs GoogleTest,
# "test|Suite.Case" for each failed case (a GTK test binary runs many).
failed_units() {
    awk '
        / Test +#[0-9]+: / {
            current = ""
            if ($0 ~ /\*\*\*/ && $0 !~ /Not Run|Disabled|Skipped/) {
                current = $0
                sub(/.* Test +#[0-9]+: /, "", current)
                sub(/ .*/, "", current)
                if (!(current in seen)) { order[++n] = current; seen[current] = 1 }
            }
            next
        }
        current != "" && /^\[  FAILED  \] [A-Za-z0-9_.\/]+( \([0-9]+ ms\))?$/ {
            name = $4
            unit = current "|" name
            if (!(unit in cases)) { cases[unit] = 1; listed[current] = listed[current] "\n" unit }
        }
        END {
            for (i = 1; i <= n; ++i) {
                if (order[i] in listed) printf "%s", substr(listed[order[i]], 2) "\n"
                else print order[i]
            }
        }' "$1"
}

# Runs one failure again: the test, or only its failed case.
run_unit() {
    local log=$1 unit=$2 test=${2%%|*} filter=
    [[ $unit == *'|'* ]] && filter=${unit#*|}
    echo "=== $unit $3" >>"$log"
    GTEST_FILTER=${filter:-*} ctest_bounded "$log" -R "^$test\$"
}

is_flaky() { grep -qxF -- "$1" "$flaky_list"; }
mark_flaky() {
    is_flaky "$1" || echo "$1" >>"$flaky_list"
    flaky+=("$1")
}

# Sets `verdict` (and `detail`) for fault n, which is planted and built. The whole suite runs;
# a failure is a catch only when it fails once more with the fault and then passes twice
# without it. A test or case that fails without any fault, or only now and then with it,
# cannot judge: it is noted as flaky and left out of every later verdict of the run.
judge() {
    local n=$1 number=$(($1 + 1)) status=0 unit caught=()
    local log=$logs/$number.test.log
    : >"$log"
    # Core's unit tests take seconds and catch most faults; the slow tests run only after them,
    # and each phase stops at its first failure.
    ctest_bounded "$log" -j2 --stop-on-failure -L core || status=$?
    ((status != 0)) || ctest_bounded "$log" -j2 --stop-on-failure -LE core || status=$?
    if ((status == 0)); then
        verdict=survived
        return
    fi
    if ((status == 124 || status == 137)); then
        verdict=killed detail=time-out
        return
    fi
    while IFS= read -r unit; do
        is_flaky "$unit" && continue
        if run_unit "$log" "$unit" "once more, with the fault"; then
            mark_flaky "$unit"
        else
            caught+=("$unit")
        fi
    done < <(failed_units "$log")
    verdict=survived
    ((${#caught[@]} > 0)) || return 0
    restore
    build_all "$logs/$number.build.log" || die "the code does not build without fault $number"
    for unit in "${caught[@]}"; do
        if run_unit "$log" "$unit" "without the fault" && run_unit "$log" "$unit" "without the fault, again"; then
            verdict=killed detail=${unit#*|}
            [[ $detail == "${unit%%|*}" ]] || detail="${unit%%|*}: $detail"
            return
        fi
        mark_flaky "$unit"
    done
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
flaky_list=$logs/flaky.txt
: >"$baseline_log"
: >"$flaky_list"
flaky=()
baseline_start=$SECONDS
if ! ctest_bounded "$baseline_log" -j2; then
    while IFS= read -r unit; do
        run_unit "$baseline_log" "$unit" "once more" ||
            echo "mutants: warning: ${unit/|/: } fails without any fault; it judges nothing in this run"
        mark_flaky "$unit"
    done < <(failed_units "$baseline_log")
fi
baseline=$((SECONDS - baseline_start))
if [[ -z ${MUTANTS_RUN_TIMEOUT:-} ]]; then
    run_timeout=$((baseline * 4 > 180 ? baseline * 4 : 180))
fi
echo "mutants: the suite runs in ${baseline}s; each run may take ${run_timeout}s"
echo

killed=0 survived=0 broken=0 survivors=()
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
        esac
    fi
    restore
    printf '%3d  %-14s %s' "$number" "$verdict" "${descriptions[n]}"
    [[ -z $detail ]] || printf '  [%s]' "$detail"
    ((${#flaky[@]} == 0)) || printf '  [flaky, not judging: %s]' "${flaky[*]}"
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
if [[ -s $flaky_list ]]; then
    echo "flaky here (failed without a fault, or only now and then with one), so not judging:"
    sed 's/^/  /; s/|/: /' "$flaky_list"
fi
((survived == 0)) || echo "survived: ${survivors[*]}"
echo "time: $(duration $((SECONDS - started)))"
