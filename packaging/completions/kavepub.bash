# bash completion for kavepub(1), which knows its commands and options itself.

_kavepub() {
  local current=${COMP_WORDS[COMP_CWORD]} offers offer names
  mapfile -t offers < <("${COMP_WORDS[0]}" complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
  COMPREPLY=()
  for offer in "${offers[@]}"; do
    case $offer in
      :directory) compopt -o dirnames ;;
      :encoding)
        mapfile -t names < <(compgen -W "$(iconv -l | tr -d /)" -- "$current")
        COMPREPLY+=("${names[@]}")
        ;;
      :*) compopt -o default ;; # files, where no word fits
      *) COMPREPLY+=("${offer%%:*}") ;;
    esac
  done
}

complete -F _kavepub kavepub
