# bash completion for jumplark(1)

_jumplark() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command='' i
  COMPREPLY=()
  for ((i = 1; i < COMP_CWORD; ++i)); do
    case ${COMP_WORDS[i]} in
      activate | preferences | tree | match | act | menus | record | doctor)
        command=${COMP_WORDS[i]}
        break
        ;;
    esac
  done
  case $previous in
    --desktop | --output | -o)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
      return
      ;;
    --pid)
      mapfile -t COMPREPLY < <(compgen -W "$(cd /proc && echo [0-9]*)" -- "$current")
      return
      ;;
    --app | --wait) return ;;
  esac
  local live='--pid --app --wait' words
  local target="--desktop $live"
  case $command in
    '') words='activate preferences tree match act menus record doctor --help -h --version' ;;
    activate) words='--help -h' ;;
    preferences) words='General Advanced Usage Help About --help -h' ;;
    tree) words="$target --all --help -h" ;;
    match) words="$target --json --window --help -h" ;;
    act) words="$target --dry-run --menu --window --help -h" ;;
    menus) words="$target --json --help -h" ;;
    record) words="$target --output -o --help -h" ;;
    doctor) words="$live --all --help -h" ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _jumplark jumplark
