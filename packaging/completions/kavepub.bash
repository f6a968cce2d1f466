# bash completion for kavepub(1), which knows its commands and options itself.

_kavepub() {
  local current=${COMP_WORDS[COMP_CWORD]} offers
  mapfile -t offers < <("${COMP_WORDS[0]}" complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
  COMPREPLY=()
  case ${offers[0]-} in
    :directory) compopt -o dirnames ;;
    :encoding) mapfile -t COMPREPLY < <(compgen -W "auto $(iconv -l | tr -d /)" -- "$current") ;;
    :*) compopt -o default ;;
    *) COMPREPLY=("${offers[@]%%:*}") ;;
  esac
}

complete -F _kavepub kavepub
