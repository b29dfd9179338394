# fish completion for jumplark(1)

set -l commands activate preferences tree match act menus record doctor
set -l live tree match act menus record doctor

complete -c jumplark -f
complete -c jumplark -s h -l help -d 'Print the options and exit'
complete -c jumplark -n "not __fish_seen_subcommand_from $commands" -l version -d 'Print the version and exit'

complete -c jumplark -n "not __fish_seen_subcommand_from $commands" -a activate -d 'Show or hide the query window'
complete -c jumplark -n "not __fish_seen_subcommand_from $commands" -a preferences -d 'Open the preferences'
complete -c jumplark -n "not __fish_seen_subcommand_from $commands" -a tree -d 'Print what it sees as XML'
complete -c jumplark -n "not __fish_seen_subcommand_from $commands" -a match -d 'Print the matches of a query'
complete -c jumplark -n "not __fish_seen_subcommand_from $commands" -a act -d 'Click the best match of a query'
complete -c jumplark -n "not __fish_seen_subcommand_from $commands" -a menus -d 'Print the commands of the menus'
complete -c jumplark -n "not __fish_seen_subcommand_from $commands" -a record -d 'Save a recorded desktop'
complete -c jumplark -n "not __fish_seen_subcommand_from $commands" -a doctor -d 'Say whether all is well'

complete -c jumplark -n "__fish_seen_subcommand_from tree match act menus record" -l desktop -r -F -d 'Read a recorded desktop'
complete -c jumplark -n "__fish_seen_subcommand_from $live" -l pid -x -a '(__fish_complete_pids)' -d 'This process'
complete -c jumplark -n "__fish_seen_subcommand_from $live" -l app -x -d 'The application of this name'
complete -c jumplark -n "__fish_seen_subcommand_from $live" -l wait -x -d 'Wait so many seconds first'
complete -c jumplark -n "__fish_seen_subcommand_from preferences" -a 'General Advanced Usage Help About'
complete -c jumplark -n "__fish_seen_subcommand_from tree" -l all -d 'Invisible elements too'
complete -c jumplark -n "__fish_seen_subcommand_from doctor" -l all -d 'Also what is well'
complete -c jumplark -n "__fish_seen_subcommand_from match menus" -l json -d 'Print a JSON list'
complete -c jumplark -n "__fish_seen_subcommand_from match act" -l window -d "The window's own buttons too"
complete -c jumplark -n "__fish_seen_subcommand_from act" -l dry-run -d 'Only say what would be clicked'
complete -c jumplark -n "__fish_seen_subcommand_from act" -l menu -d 'Choose a command of the menus'
complete -c jumplark -n "__fish_seen_subcommand_from record" -s o -l output -r -F -d 'Where to write it'
