# Bash completion of posctl: its commands, each command's options, the format
# names after --from and --to, and file names elsewhere.

_posctl() {
  local cur=${COMP_WORDS[COMP_CWORD]}
  local prev=${COMP_WORDS[COMP_CWORD - 1]}
  local commands="convert get keys type set delete cat check"
  local input="--from --null-as --max-depth --object"
  local address="-p --pointer"

  case $prev in
    --from)
      mapfile -t COMPREPLY < <(compgen -W "notation typea json" -- "$cur")
      return
      ;;
    --to)
      mapfile -t COMPREPLY < <(compgen -W "typea json notation" -- "$cur")
      return
      ;;
    --null-as | --max-depth | --object)
      # A value of the user's own.
      COMPREPLY=()
      return
      ;;
  esac

  # The command is the first word that is not an option: no option before it
  # takes a value.
  local command="" i
  for ((i = 1; i < COMP_CWORD; i++)); do
    if [[ ${COMP_WORDS[i]} != -* ]]; then
      command=${COMP_WORDS[i]}
      break
    fi
  done

  local options
  case $command in
    "") options="-h --help --version -v --verbose" ;;
    convert) options="$input --to -o --output --compact" ;;
    get) options="$input $address --json --compact --raw" ;;
    keys | type) options="$input $address" ;;
    set) options="$input $address --json --parents -o --output" ;;
    delete) options="$input $address -o --output" ;;
    cat) options="--max-depth --json --compact" ;;
    check) options="--from --null-as --max-depth -q --quiet" ;;
    *) options="" ;;
  esac
  [[ -n $command ]] && options="-h --help -v --verbose $options"

  if [[ $cur == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
  elif [[ -z $command ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$cur")
  else
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$cur")
  fi
}

complete -F _posctl posctl
