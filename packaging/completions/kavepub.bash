# bash completion for kavepub(1)

_kavepub() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local commands="convert" common="-h --help" options command=

  if ((COMP_CWORD > 1)); then command=${COMP_WORDS[1]}; fi
  case $command in
    convert) options="$common -o --output --title --author --cover" ;;
    *) options="$common --version" ;;
  esac

  COMPREPLY=()
  case $previous in
    --title | --author) return ;;
    -o | --output | --cover)
      compopt -o default
      return
      ;;
  esac
  if [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
  elif [[ -z $command ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$current")
  else
    compopt -o default
  fi
}

complete -F _kavepub kavepub
