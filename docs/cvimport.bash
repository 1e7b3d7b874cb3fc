# Bash completion for cvimport: commands, each command's options, update modes, and files where a file or
# folder is expected.
_cvimport() {
  local cur prev words cword
  if declare -F _init_completion >/dev/null; then
    _init_completion -n = || return
  else
    cur=${COMP_WORDS[COMP_CWORD]}
    prev=${COMP_WORDS[COMP_CWORD - 1]}
    words=("${COMP_WORDS[@]}")
    cword=$COMP_CWORD
  fi

  local command="" i
  for ((i = 1; i < cword; i++)); do
    case ${words[i]} in
      init | import | check | restore) command=${words[i]}; break ;;
    esac
  done

  case $prev in
    --mode) COMPREPLY=($(compgen -W "0 1 2 add-update add update" -- "$cur")); return ;;
    --project | --config-dir) COMPREPLY=($(compgen -d -- "$cur")); return ;;
    --db | --report) COMPREPLY=($(compgen -f -- "$cur")); return ;;
  esac
  if [[ $cur == --mode=* ]]; then
    COMPREPLY=($(compgen -W "0 1 2 add-update add update" -- "${cur#--mode=}"))
    return
  fi

  local options
  case $command in
    "") options="--help --version"
        if [[ $cur != -* ]]; then COMPREPLY=($(compgen -W "init import check restore" -- "$cur")); return; fi ;;
    init) options="--help" ;;
    import) options="--db --mode --media --project --regions --config-dir --plain --verbose --quiet --report
                     --atomic --no-create --backup --backup= --help" ;;
    check) options="--db --mode --media --regions --plain --verbose --quiet --report --help" ;;
    restore) options="--db --help" ;;
  esac
  if [[ $cur == -* ]]; then
    COMPREPLY=($(compgen -W "$options" -- "$cur"))
  else
    COMPREPLY=($(compgen -f -- "$cur"))
  fi
}
complete -F _cvimport cvimport
