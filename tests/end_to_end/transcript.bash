# What the commands of transcripts may call.
fixtures=$HERE/../fixtures/mobi
pictures=$fixtures/source
examples=$HERE/../../docs/examples

# write FILE [TEXT]: makes it, with its directories; the escapes of printf are known.
write() {
  mkdir -p "$(dirname "$1")"
  printf '%b' "${2-Hello\\n}" >"$1"
}

# picture FILE...: a photograph, map or sign, by the extension.
picture() {
  local file
  for file; do
    mkdir -p "$(dirname "$file")"
    case ${file,,} in
      *.png) cp "$pictures/map.png" "$file" ;;
      *.gif) cp "$pictures/sign.gif" "$file" ;;
      *) cp "$pictures/photo.jpg" "$file" ;;
    esac
  done
}

# Reads JSON of the tool: what becomes of each input; the messages.
fates() { jq -r '.inputs[0] + ": " + .status'; }
messages() { jq -r .message; }
plans() { jq -r '.inputs[0] + " -> " + .output'; }

# unprivileged COMMAND...: as a user to whom permissions apply, who owns all files here.
unprivileged() {
  if ((EUID == 0)); then
    chown -R nobody:nogroup .. && setpriv --reuid nobody --regid nogroup --clear-groups "$@"
  else
    "$@"
  fi
}

# Whether so many books are there, and whether the working files of one have such a page.
books() { (($(compgen -G '*.epub' | wc -l) >= $1)); }
begun() { compgen -G "$TMPDIR/*/epub_temp/epub/OEBPS/page-$1.html" >/dev/null; }

# stopped CONDITION SIGNAL... -- COMMAND...: runs it, and sends the signals when the condition holds.
stopped() {
  local condition=$1 signals=() signal
  shift
  for (( ; $# > 0; )); do
    [[ $1 != -- ]] || break
    signals+=("$1")
    shift
  done
  shift
  "$@" &
  until eval "$condition"; do sleep 0.001; done
  for signal in "${signals[@]}"; do kill -s "$signal" $!; done
  wait $!
}

# check BOOK [MESSAGE...]: it is sound; epubcheck says what it says of every book, and these.
check() { python3 -B "$HERE/book.py" check "$@"; }

# contents BOOK: what each of its pages shows.
contents() { python3 -B "$HERE/book.py" contents "$1"; }

# lock MOBI: marks the book as encrypted.
lock() {
  local first
  first=$(od -An -tu4 --endian=big -j78 -N4 "$1")
  printf '\0\2' | dd of="$1" bs=1 seek=$((first + 12)) conv=notrunc status=none
}

# plan ARGUMENT...: the books that would be made, with their inputs, and what would go into none.
plan() {
  kavepub convert --dry-run --json "$@" |
    jq -r 'if .output then .output + ": " + (.inputs | join(", ")) else "- " + .inputs[0] + " " + .message end'
}

# text BOOK: the text of its pages.
text() { unzip -p "$1" 'OEBPS/page-*html' | sed -n 's/<[^>]*>//gp'; }

# The shipped binaries of which readelf says, or does not say, what a pattern matches.
binaries_with() {
  local file
  for file in "$KAV_BUILD_DIR"/{bin/kavepub,lib/*.so}; do
    ! readelf --wide --dynamic --segments --dyn-syms "$file" | grep -qE "$1" || basename "$file"
  done
}
binaries_without() { diff <(binaries_with "$1") <(binaries_with .) | sed -n 's/^> //p'; }

# unmarked_functions LIBRARY: where exported functions are that do not begin with a mark.
unmarked_functions() {
  comm -23 <(nm --dynamic --defined-only "$1" | awk '$2 == "T" {print $1}' | sort -u) \
    <(objdump --disassemble --no-show-raw-insn "$1" |
      sed -n '/^[0-9a-f]* <.*>:$/{N;s/^\([0-9a-f]*\) .*\tendbr64.*/\1/p}' | sort)
}

# standalone LANGUAGE HEADER...: those headers that need another one in front.
standalone() {
  local language=$1 header
  for header in "${@:2}"; do
    [[ -d $header ]] || printf '#include "%s"\ntypedef int NotEmpty;\n' "$header" |
      cc -x "$language" -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I. -Iservice \
        $(pkg-config --cflags libxml-2.0) -
  done
}

# flip FILE PLACE: changes the byte there.
flip() {
  printf '\\x%x' $((255 - $(od -An -tu1 -j"$2" -N1 "$1"))) | xargs -0 printf |
    dd of="$1" bs=1 seek="$2" conv=notrunc status=none
}

# What shells offer for words, and at the ends of lines.
offered_by_bash() {
  bash -uc 'compopt() { :; }; source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _kavepub
    echo "${COMPREPLY[*]}"' \
    bash "$HERE/../../packaging/completions/kavepub.bash" "$@"
}
offered_by_zsh() {
  zsh -f "$HERE/offers_of_zsh.zsh" "$HERE/../../packaging/completions" "$@" </dev/null |
    sed -n 's/\r$//; s/^OFFERED://p' | paste -sd' '
}

# slurm: puts programs that do as a cluster does, one task after the other, in front of the PATH. Tasks run
# on the node n1; FAULTS is a command before each of them.
slurm() {
  write bin/sinfo '#!/bin/sh\necho n1\necho n1\n'
  write bin/squeue '#!/bin/sh\n[ -e forgotten ] || { touch forgotten; echo RUNNING; exit; }\necho "slurm_load_jobs error: Invalid job id specified" >&2\nexit 1\n'
  write bin/scancel '#!/bin/sh\n'
  write bin/sbatch '#!/bin/bash
for word; do [[ $word != --array=* ]] || count=${word#--array=1-}; [[ $word != --output=* ]] || log=${word#--output=}; done
echo "${@:2:$#-2}" | tr " " "\\n" | grep -v ^--output >sbatch.log
for ((task = 1; task <= count; ++task)); do
  export SLURM_ARRAY_JOB_ID=7 SLURM_ARRAY_TASK_ID=$task SLURM_CPUS_ON_NODE=1 SLURMD_NODENAME=n1
  eval "${FAULTS:-}"
  bash "$word" >>"${log//%A_%a/7_$task}" 2>&1
done
echo 7\n'
  chmod +x bin/*
  export PATH=$PWD/bin:$HERE/../../hosts/cluster:$PATH
}
