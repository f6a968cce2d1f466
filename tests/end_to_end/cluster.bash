#!/usr/bin/env bash
# Makes a library on two nodes of Slurm, both on this machine, while nodes die and disks are full, and
# again over ssh with GNU parallel: cluster.bash BUILD-DIRECTORY [BOOKS [SHARES [OPTION-OF-CONVERT...]]].
# Needs root, to give the nodes a disk that gets full. With MEASURE=ROUNDS it only tells how long quiet
# runs take on one node, on two and without Slurm, so many times.
# shellcheck disable=SC2016 # conditions are expanded when they are looked at
set -euo pipefail
shopt -s nullglob

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$(realpath "$1")
books=${2:-2000}
shares=${3:-16}
options=("${@:4}")
((${#options[@]} > 0)) || options=(--cover none)
sources=$(realpath "$here/../..")
top=$(mktemp -d)
chmod 755 "$top"
export PATH=$build/bin:$sources/hosts/cluster:$PATH SLURM_CONF=$top/slurm.conf
daemons=()
ulimit -c 0

# Ends what was started here, and nothing else.
clean_up() {
  local pid
  for pid in "${daemons[@]}"; do kill -9 "$pid" || true; done
  started_with "SLURM_CONF=$top/slurm.conf" | while read -r pid; do
    ((pid == $$)) || kill -9 "$pid" || true
  done
  umount "$top/books" "$top/disk.n2" || true
  rm -rf "$top"
}
trap 'clean_up 2>/dev/null' EXIT

# The processes with a variable of the environment, which tasks of a daemon inherit and outlive it with.
started_with() {
  grep -lzxF "$1" /proc/[0-9]*/environ 2>/dev/null | grep -o '[0-9]*' || true
}

say() { printf '== %4d s: %s\n' "$SECONDS" "$1"; }
fail() {
  echo "FAILED: $1"
  tail -n 5 "$top"/*.log "$top"/run*/logs/*.log "$top"/books.run/report 2>/dev/null || true
  exit 1
}
within() { # SECONDS CONDITION
  local end=$((SECONDS + $1))
  until eval "$2"; do
    ((SECONDS < end)) || fail "not within $1 s: $2"
    sleep 0.05
  done
}

daemon() { # NAME COMMAND...
  "${@:2}" >>"$top/$1.log" 2>&1 &
  daemons+=($!)
  echo $! >"$top/$1.pid"
}
# The machine is gone: the daemon, the keepers of its tasks and what they run.
node_dies() {
  local pid
  kill -9 "$(<"$top/$1.pid")"
  started_with "SLURMD_NODENAME=$1" | while read -r pid; do
    if grep -qzF "$top" "/proc/$pid/environ"; then kill -9 "$pid" || true; fi
  done
}
start_cluster() {
  local port=$((20000 + $$ % 10000))
  cat >"$SLURM_CONF" <<END
ClusterName=books
SlurmctldHost=$(hostname -s)(127.0.0.1)
AuthType=auth/munge
AuthInfo=socket=$top/munge.socket
SlurmUser=root
StateSaveLocation=$top/state
SlurmdSpoolDir=$top/disk.%n
SlurmctldPidFile=$top/slurmctld.own
SlurmdPidFile=$top/%n.own
SlurmctldPort=$port
SlurmdTimeout=5
SlurmctldTimeout=5
KillWait=2
ReturnToService=2
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SwitchType=switch/none
MpiDefault=none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SchedulerParameters=batch_sched_delay=0
NodeName=n1 NodeHostname=$(hostname -s) NodeAddr=127.0.0.1 Port=$((port + 1)) CPUs=1
NodeName=n2 NodeHostname=$(hostname -s) NodeAddr=127.0.0.1 Port=$((port + 2)) CPUs=1
PartitionName=all Nodes=n1,n2 Default=YES MaxTime=INFINITE State=UP
END
  # What Slurm has on a node is on a disk of its own, and that of n2 is small.
  mkdir "$top/state" "$top/disk.n1" "$top/disk.n2"
  mount -t tmpfs -o size=4m disk "$top/disk.n2"
  mungekey --create --keyfile "$top/munge.key"
  daemon munged munged --force --foreground --key-file "$top/munge.key" --socket "$top/munge.socket" \
    --pid-file "$top/munged.own" --seed-file "$top/munge.seed" --log-file "$top/munge.log"
  within 10 "[[ -S $top/munge.socket ]]"
  daemon slurmctld slurmctld -D -c
  daemon n1 slurmd -D -N n1
  daemon n2 slurmd -D -N n2
  within 30 '(($(sinfo -hN -t idle 2>/dev/null | wc -l) == 2))'
}

made() { # DIRECTORY
  find "$top/$1" -name '*.epub' 2>/dev/null | wc -l
}
# Every book is there, and the same as when one machine makes them all in peace.
require_all() { # DIRECTORY
  diff -r "$top/expected" "$1" >"$top/diff.log" || fail "other books than expected: $(head -n 3 "$top/diff.log")"
}

say "making a library of $books books, and the books in peace"
library=$top/library
python3 "$sources/bench/make_library.py" "$library" "$books"
damaged=$((books / 100))
kavepub list "$library" >"$top/list"
kavepub convert "$library" --list "$top/list" -o "$top/expected" "${options[@]}" --jobs 2 --quiet \
  2>/dev/null || true
(($(wc -l <"$top/list") == books && $(find "$top/expected" -name '*.epub' | wc -l) == books - damaged)) ||
  fail "no library to compare with"

say "starting two nodes"
start_cluster

run() { # OPTION...
  kavepub-cluster -n "$shares" -p 1 "$@" "$library" "$top/books" -- "${options[@]}" >"$top/run.log" 2>&1
}
timed() { # NAME COMMAND...
  local start
  rm -rf "$top/books" "$top/books.run"
  start=$(date +%s%N)
  ! "${@:2}" || fail "the damaged books were made"
  echo "$1: $((($(date +%s%N) - start) / 1000000)) ms"
  require_all "$top/books"
}
without_slurm() { # JOBS
  kavepub list "$library" >"$top/list"
  kavepub convert "$library" --list "$top/list" -o "$top/books" "${options[@]}" --jobs "$1" --quiet \
    --journal "$top/journal" 2>/dev/null
}
for ((round = 1; round <= ${MEASURE:-0}; ++round)); do
  timed "1 thread " without_slurm 1
  timed "1 node   " run -s --exclude=n2
  timed "2 threads" without_slurm 2
  timed "2 nodes  " run
done
[[ -z ${MEASURE:-} ]] || exit 0

say "a run in which all goes wrong that can"
rm -rf "$top/books" "$top/books.run"
mkdir "$top/books"
mount -t tmpfs -o size=$(($(du -sk "$top/expected" | cut -f1) * 2))k books "$top/books"
run --rounds 6 &
run=$!
within 100 '(($(made books) > books / 20))'

say "a share is run twice at once, by hand, beside the cluster"
twice=()
for copy in 1 2; do
  kavepub convert "$library" --list "$top/books.run/list" --share "$shares/$shares" -o "$top/books" \
    "${options[@]}" --quiet --journal "$top/books.run/journals/hand-$copy.jsonl" 2>/dev/null &
  twice+=($!)
done

say "node n1 dies, $(made books) books are there"
node_dies n1
within 100 '(($(made books) > books / 5))'
say "the disk gets full, $(made books) books are there"
cat /dev/zero >"$top/books/filler" 2>/dev/null || true
within 60 'grep -q "\"cause\":\"disk\"" "$top"/books.run/journals/*.jsonl'
sleep 2
rm "$top/books/filler"
say "the disk of n2 gets full, where Slurm has its tasks, $(made books) books are there"
within 60 'cat /dev/zero >>"$top/disk.n2/filler" 2>/dev/null || [[ $(sinfo -hN -n n2 -o "%t %E") == drain*full* ]]'
rm "$top/disk.n2/filler"
within 60 'scontrol update nodename=n2 state=undrain 2>/dev/null'
say "n1 is back, the controller is killed, $(made books) books are there"
daemon n1 slurmd -D -N n1
kill -9 "$(<"$top/slurmctld.pid")"
sleep 3
daemon slurmctld slurmctld -D
within 30 'scontrol ping >/dev/null 2>&1'
say "n2 is drained, and comes back, $(made books) books are there"
scontrol update nodename=n2 state=drain reason=test
within 60 '[[ $(sinfo -hN -n n2 -o %t) == drain ]]' # when its task is done
within 60 'scontrol update nodename=n2 state=undrain 2>/dev/null'
wait "${twice[@]}" || true
code=0
wait "$run" || code=$?
cat "$top/run.log"
((code == 1)) || fail "exit code $code"
# Only the damaged books have failed, and what is told as done is done.
said=$(jq -c '[.done + .up_to_date, .failed, .missing, (.failures | map(.cause) | unique)]' \
  <(kavepub report --json --list "$top/books.run/list" "$top"/books.run/journals/*.jsonl || true))
[[ $said == "[$((books - damaged)),$damaged,0,[\"book\"]]" ]] || fail "the report says $said"
require_all "$top/books"
echo "By the journals: $(cat "$top"/books.run/journals/*.jsonl | jq -r .result | sort | uniq -c | xargs)"

say "once more: nothing is to be made but what failed"
! run || fail "the damaged books were made"
grep -q "^$((books - damaged)) done ($(grep -vc damaged "$top/books.run/list") were up to date), $damaged failed, 0 missing" \
  "$top/books.run/report" || fail "a second run: $(head -n 1 "$top/books.run/report")"

say "GNU parallel over ssh, a connection of which is cut"
port=$((31000 + $$ % 10000))
ssh-keygen -q -t ed25519 -N '' -f "$top/host_key"
ssh-keygen -q -t ed25519 -N '' -f "$top/user_key"
mkdir -p /run/sshd
daemon sshd /usr/sbin/sshd -D -e -f /dev/null -p "$port" -h "$top/host_key" -o PidFile=none -o UsePAM=no \
  -o ListenAddress=127.0.0.1 -o AuthorizedKeysFile="$top/user_key.pub" -o StrictModes=no -o PermitRootLogin=yes
ssh=(ssh -p "$port" -i "$top/user_key" -o StrictHostKeyChecking=no -o UserKnownHostsFile=/dev/null -o LogLevel=ERROR)
within 10 '"${ssh[@]}" localhost true 2>/dev/null'
mkdir "$top/run"
seq "$shares" | parallel --will-cite --sshlogin "2/${ssh[*]} localhost" --retries 3 --joblog "$top/run/joblog" \
  "$build/bin/kavepub convert $library --list $top/list --share {}/$shares -o $top/again ${options[*]} --quiet \
   --journal $top/run/{}.jsonl || [ \$? = 1 ]" >"$top/parallel.log" 2>&1 &
run=$!
within 60 '(($(made again) > books / 10))'
within 60 'kill -9 "$(pgrep -o -f "^$build/bin/kavepub convert $library --list $top/list --share")" 2>/dev/null'
wait "$run" || fail "parallel: $(cat "$top/parallel.log")"
kavepub report --list "$top/list" "$top"/run/*.jsonl || true
require_all "$top/again"
say "all is well"
