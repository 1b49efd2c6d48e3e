#!/usr/bin/env bash
# Measures every figure of the performance table against its baseline in the
# same run and prints the table with ratios. A benchmark, not a test: the
# figures depend on the machine and on what else it runs.
#
#   bench/run_all.sh [--quick] [--no-callgrind]
#
# Builds rq7.config and the benchmarks in build-bench/ (Release, its own
# directory), then measures:
#   start-up          rq7.config -v against launching /bin/true
#   Logger runs       generated SoCs of 8 and 64 cores against accesses x bare
#                     loopback round trip + launch; also the fixed cost of a
#                     run and the cost per access above the round trip
#   load and save     a flat block of 100,000 attributes against libxml2
#   peak memory       of that load and save, and of one of ~100 MB, in bytes
#                     per input byte; of the example's Logger run
# Times are medians. Instruction counts (callgrind) do not depend on the load
# of the machine: compare those across runs on a busy machine.
# Logger runs listen on port 5000: the script moves into a private network
# namespace when it can.
set -euo pipefail

if [ -z "${RQ7_BENCH_NS:-}" ] && unshare -n true 2>/dev/null; then
  exec unshare -n env RQ7_BENCH_NS=1 bash -c 'ip link set lo up; exec "$0" "$@"' "$0" "$@"
fi

quick=0 callgrind=1
for a in "$@"; do
  case "$a" in
    --quick) quick=1 ;;
    --no-callgrind) callgrind=0 ;;
    *) echo "usage: bench/run_all.sh [--quick] [--no-callgrind]" >&2; exit 2 ;;
  esac
done
command -v valgrind >/dev/null || callgrind=0

root=$(cd "$(dirname "$0")/.." && pwd)
build=${RQ7_BENCH_BUILD:-$root/build-bench}
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DRQ7_BUILD_BENCH=ON "${launcher[@]}" >/dev/null
cmake --build "$build" --target rq7.config run_bench config_bench socgen startup_floor >/dev/null

tool=$build/app/rq7.config
work=$(mktemp -d /tmp/rq7-run-all-XXXXXX)
trap 'rm -rf "$work"' EXIT
runs=$((quick ? 50 : 300)) reps=$((quick ? 1 : 3)) passes=$((quick ? 3 : 7))

median() { sort -g | awk '{v[NR]=$1} END {print (NR % 2) ? v[(NR+1)/2] : (v[NR/2]+v[NR/2+1])/2}'; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN {printf "%.2f", (b > 0) ? a / b : 0}'; }
instructions() { valgrind --tool=callgrind --callgrind-out-file=/dev/null "$@" 2>&1 >/dev/null | awk '/Collected/ {print $NF}'; }

# Start-up.
hyperfine -N -w 20 -r "$runs" --export-json "$work/start.json" "$tool -v" /bin/true "$build/bench/startup_floor" \
  >/dev/null 2>&1
start_ms=$(jq '.results[0].median * 1000' "$work/start.json")
true_ms=$(jq '.results[1].median * 1000' "$work/start.json")
floor_ms=$(jq '.results[2].median * 1000' "$work/start.json")
start_ir=- true_ir=- floor_ir=-
if [ $callgrind = 1 ]; then
  start_ir=$(instructions "$tool" -v) true_ir=$(instructions /bin/true)
  floor_ir=$(instructions "$build/bench/startup_floor")
fi

# Logger runs: medians over repetitions of run_bench's counters.
"$build/bench/run_bench" --benchmark_filter='Example|Generated(8|64)/' --benchmark_repetitions="$reps" \
  --benchmark_format=json 2>/dev/null >"$work/run.json"
counter() {  # benchmark name, counter
  jq -r --arg n "BM_LoggerConfigure$1" --arg c "$2" \
    '[.benchmarks[] | select((.run_name | startswith($n + "/")) and .run_type == "iteration") | .[$c]] | .[]' "$work/run.json" | median
}
logger_row() {  # name
  local run limit w r rw rr empty launch
  run=$(counter "$1" run_ms) limit=$(counter "$1" limit_ms) w=$(counter "$1" writes) r=$(counter "$1" reads)
  rw=$(counter "$1" rtt_write_us) rr=$(counter "$1" rtt_read_us) empty=$(counter "$1" empty_run_ms)
  launch=$(counter "$1" launch_ms)
  awk -v run="$run" -v limit="$limit" -v w="$w" -v r="$r" -v rw="$rw" -v rr="$rr" -v empty="$empty" \
      -v launch="$launch" 'BEGIN {
    per = (run - empty - (w * rw + r * rr) / 1000) * 1000 / (w + r)
    printf "%.1f ms (%d writes, %d reads) | %.1f ms (rtt %.0f/%.0f us, launch %.2f ms) | %.2f | fixed %.1f ms, +%.1f us per access\n",
           run, w, r, limit, rw, rr, launch, run / limit, empty - launch, per }'
}
row8=$(logger_row Generated8) row64=$(logger_row Generated64)
example_kib=$(counter Example peak_rss_kib)
ir8=-
if [ $callgrind = 1 ]; then
  "$build/tools/socgen/socgen" 8 >"$work/soc8.xml"
  ir8=$(cd "$work" && instructions "$tool" -c soc8.xml)
fi

# Load and save, each pass alone in its process; ours and libxml2 alternate.
pass() {  # mode, file -> "ms growth"
  "$build/bench/config_bench" "$1" "$2" | awk '{print $2, $4}'
}
loadsave() {  # attributes -> "ours_ms ours_growth libxml2_ms libxml2_growth bytes"
  local file=$work/flat$1.xml
  "$build/bench/config_bench" --flat "$1" "$file"
  : >"$work/ours" && : >"$work/base"
  for _ in $(seq "$passes"); do
    pass --load-save "$file" >>"$work/ours"
    pass --libxml2 "$file" >>"$work/base"
  done
  echo "$(cut -d' ' -f1 "$work/ours" | median) $(cut -d' ' -f2 "$work/ours" | median)" \
       "$(cut -d' ' -f1 "$work/base" | median) $(cut -d' ' -f2 "$work/base" | median) $(stat -c %s "$file")"
}
read -r ls_ms ls_mem xml_ms xml_mem flat_bytes <<<"$(loadsave 100000)"
big_attrs=$((quick ? 100000 : 750000))
read -r _ big_mem _ big_xml_mem big_bytes <<<"$(loadsave $big_attrs)"
ls_ir=- xml_ir=-
if [ $callgrind = 1 ]; then
  ls_ir=$(instructions "$build/bench/config_bench" --load-save "$work/flat100000.xml")
  xml_ir=$(instructions "$build/bench/config_bench" --libxml2 "$work/flat100000.xml")
fi

mb() { awk -v b="$1" 'BEGIN {printf "%.1f MB", b / 1e6}'; }
bpb() { awk -v m="$1" -v b="$2" 'BEGIN {printf "%.1f", m / b}'; }
load=$(cut -d' ' -f1 /proc/loadavg)
echo
echo "rq7.config performance ($(date -u '+%Y-%m-%d %H:%M UTC'), $(nproc) CPUs, load average $load)"
echo
echo "| figure | now | limit or peer | ratio | goal |"
echo "|---|---|---|---|---|"
printf "| start-up: rq7.config -v | %.2f ms (%s instructions) | /bin/true: %.2f ms (%s) | %s | <= 1.5 |\n" \
  "$start_ms" "$start_ir" "$true_ms" "$true_ir" "$(ratio "$start_ms" "$true_ms")"
printf "| (floor: a C++ program printing one line through iostreams) | %.2f ms (%s instructions) | | %s | |\n" \
  "$floor_ms" "$floor_ir" "$(ratio "$floor_ms" "$true_ms")"
IFS='|' read -r a b c d <<<"$row8"
echo "| Logger configure, 8 cores |$a|$b|$c| <= 1.2 |"
echo "| (8 cores: fixed cost beyond launch, cost per access above the round trip; $ir8 instructions) |$d| | | |"
IFS='|' read -r a b c d <<<"$row64"
echo "| Logger configure, 64 cores |$a|$b|$c| <= 1.05 |"
echo "| (64 cores) |$d| | | |"
printf "| load and save, flat block of 100,000 attributes (%s) | %.0f ms (%s instructions) | libxml2 parse and save: %.0f ms (%s) | %s | <= 1.0 |\n" \
  "$(mb "$flat_bytes")" "$ls_ms" "$ls_ir" "$xml_ms" "$xml_ir" "$(ratio "$ls_ms" "$xml_ms")"
echo "| peak memory of that load and save | $(mb "$ls_mem") ($(bpb "$ls_mem" "$flat_bytes") B/B); $(mb "$big_mem") for $(mb "$big_bytes") ($(bpb "$big_mem" "$big_bytes") B/B) | libxml2: $(bpb "$xml_mem" "$flat_bytes") B/B; $(bpb "$big_xml_mem" "$big_bytes") B/B | | <= 3 B/B |"
awk -v k="$example_kib" 'BEGIN {printf "| peak memory of the example run | %.1f MiB | | | <= 6 MiB |\n", k / 1024}'
