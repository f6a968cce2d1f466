# Prints what an interactive zsh offers at the end of each of the texts typed, a line "OFFERED:WORD"
# for every word: zsh -f offers_of_zsh.zsh DIRECTORY_OF_COMPLETIONS TEXT...
zmodload zsh/zpty

# What the inner shell is told first. The tab key lists the offers; the matches pass through compadd.
told='
  PS1=
  fpath=('${(qqq)1}' $fpath)
  autoload -Uz compinit
  compinit -u -D
  compadd() {
    local -a hits
    if [[ ${@[1,(i)(-|--)]} != *-(O|A|D)\ * ]]; then
      builtin compadd -A hits "$@"
      print -rl -- "" OFFERED:$^hits
    fi
    builtin compadd "$@"
  }
  offer() { zle list-choices; print END""ED }
  zle -N offer
  bindkey "^I" offer
  print RE""ADY'
shift

zpty shell zsh -f -i
zpty -w shell "eval ${(qq)told}"
zpty -r shell output '*READY*'
for typed; do
  zpty -w -n shell "$typed"$'\t'
  zpty -r shell output '*ENDED*'
  print -r -- "$output"
  zpty -w -n shell $'\C-u'
done
zpty -d shell
