#!/bin/bash
# The manual page and the completions of three shells know exactly the commands and options that --help shows.
#
#   manual-agrees.sh PROGRAM FOLDER     FOLDER holds jumplark.1 and completions/
set -eu
export LC_ALL=C LANGUAGE=
program=$1 folder=$2
failures=0

# same WHAT WANTED FOUND: lists of words, in any order.
same() {
  if ! difference=$(diff <(printf '%s\n' $2 | sort -u) <(printf '%s\n' $3 | sort -u)); then
    printf '%s: < as --help has it, > as found\n%s\n' "$1" "$difference" >&2
    failures=$((failures + 1))
  fi
}

help_of() { "$program" "$@" --help; }
options_in() { # Newer help sets a short and a long name apart.
  sed -nE 's/^ +(-[A-Za-z]),? *(--[-a-z]+)?.*/\1 \2/p; t; s/^ +(--[-a-z]+).*/\1/p' | tr ' ' '\n' | grep . || true
}
own_options() { help_of "$@" | sed '/^TARGET/,$d' | options_in; }
target_options() { help_of "$@" | sed -n '/^TARGET/,$p' | options_in; }
commands=$(help_of | sed -n '/^Subcommands:/I,/^$/s/^  \([a-z]\+\) .*/\1/p')
panes=$(help_of preferences | sed -n 's/^ *PANE TEXT *//p' | sed 's/,\| or / /g')
[ "$(wc -w <<<"$commands")" -ge 7 ] && [ "$(wc -w <<<"$panes")" -ge 5 ] || { echo "--help is not understood" >&2; exit 1; }

# The manual page without its markup; options stand in the line after .TP.
page=$(sed 's/\\f[A-Z]//g; s/\\-/-/g' "$folder/jumplark.1")
manual_options() { grep -A1 '^\.TP' | grep -oE '^\.[A-Z]+ .*' | grep -oE '(^|[ "])--?[a-z-]+' | tr -d ' "' || true; }
section() { sed -n "/^\.$1\b/,\${/^\.$1\b/n;/^\.S[HS] /q;p}" <<<"$page"; }

same 'commands of the manual page' "$commands" "$(sed -n 's/^\.SS \([a-z]*\).*/\1/p' <<<"$page")"
same 'options of the manual page' "$(own_options)" "$(section 'SH OPTIONS' | manual_options)"
same 'targets of the manual page' "$(for c in $commands; do target_options "$c"; done)" \
  "$(section 'SH TARGET' | manual_options)"
same 'panes of the manual page' "$panes" "$(section 'SS preferences' | grep -oE '\b[A-Z][a-z]+' | grep -v Open)"

bash_completion() { # WORDS... with the last one unfinished
  bash -c 'source "$0"; COMP_WORDS=(jumplark "$@"); COMP_CWORD=$#; _jumplark; printf "%s\n" "${COMPREPLY[@]}"' \
    "$folder/completions/jumplark.bash" "$@"
}
fish_completion() {
  fish --no-config -c 'source $argv[1]; complete -C"jumplark $argv[2]"' "$folder/completions/jumplark.fish" "$*" |
    cut -f1
}
# The words that reach the completion system, in its place.
zsh_completion() {
  zsh -f -c '
    _arguments() { [[ $1 = -C ]] && { state=$STATE; [[ $STATE = top ]] || return 1 }
      print -l -- ${@:#-C} | grep -oE "^(\([^)]*\))?-[a-z-]+" | sed "s/^([^)]*)//"
      print -l -- $@ | sed -n "s/.*:(\([A-Z].*\))$/\1/p" | tr " " "\n"; true }
    _describe() { print -l -- ${commands%%:*} }
    words=($2); STATE=$1; source $0' "$folder/completions/_jumplark" "$1" "${2-}"
}

same 'bash: first words' "$commands $(own_options)" "$(bash_completion '')"
same 'fish: commands' "$commands" "$(fish_completion '')"
same 'fish: options' "$(own_options)" "$(fish_completion -; fish_completion --)"
same 'zsh: commands' "$commands" "$(zsh_completion command)"
same 'zsh: options' "$(own_options)" "$(zsh_completion top)"
for command in $commands; do
  options="$(own_options "$command") $(target_options "$command")"
  same "the manual page on $command" "$(own_options "$command")" \
    "--help -h $(section "SS $command" | manual_options)"
  same "bash: $command" "$options" "$(bash_completion "$command" -)"
  same "fish: $command" "$options" "$(fish_completion "$command -"; fish_completion "$command --")"
  same "zsh: $command" "$options" "$(zsh_completion rest "$command" | grep ^-)"
done
same 'bash: panes' "$panes" "$(bash_completion preferences '' | grep -v ^-)"
same 'fish: panes' "$panes" "$(fish_completion 'preferences ')"
same 'zsh: panes' "$panes" "$(zsh_completion rest preferences | grep -v ^-)"

man --warnings -E UTF-8 -l "$folder/jumplark.1" 2>&1 >/dev/null | grep . >&2 && failures=$((failures + 1))
[ $failures = 0 ]
