# bash completion for kavepub(1)

_kavepub() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local commands="convert info preview" common="-h --help" options command=

  if ((COMP_CWORD > 1)); then command=${COMP_WORDS[1]}; fi
  case $command in
    convert)
      options="$common -o --output --title --author --cover --encoding --encoding-errors"
      options+=" --paragraphs --separate --work-dir -j --jobs -f --force -n --dry-run -q --quiet --json"
      ;;
    info) options="$common --json" ;;
    preview) options="$common -o --output -f --force" ;;
    *) options="$common --version" ;;
  esac

  COMPREPLY=()
  case $previous in
    --title | --author | -j | --jobs) return ;;
    --encoding) options=$(iconv -l 2>/dev/null | tr -d /) ;;
    --encoding-errors) options="auto strict replace" ;;
    --paragraphs) options="auto line wrapped" ;;
    --work-dir)
      compopt -o dirnames
      return
      ;;
    -o | --output | --cover)
      compopt -o default
      return
      ;;
    *)
      if [[ $current != -* && -n $command ]]; then
        compopt -o default
        return
      fi
      if [[ $current != -* ]]; then options=$commands; fi
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
}

complete -F _kavepub kavepub
