# Completion of veilpane for fish.

function __veilpane_words
    count (commandline -opc)
end

# By the command that is typed, which need not be the one on PATH. Lines without an ID belong to a name
# with line feeds.
function __veilpane_displays
    set -l words (commandline -opc)
    set -l typed (string replace -r '^~/' $HOME/ -- $words[1])
    $typed --list 2>/dev/null | string match -r '^[0-9]+\t[^\t]*'
end

complete -c veilpane -f
complete -c veilpane -n 'test (__veilpane_words) -eq 1' -a --power -d 'Switch a display'
complete -c veilpane -n 'test (__veilpane_words) -eq 1' -a --list -d 'List the displays'
complete -c veilpane -n 'test (__veilpane_words) -eq 1' -a --selftest -d 'Switch a display but the main one off and on'
complete -c veilpane -n 'test (__veilpane_words) -eq 1' -a --help -d 'Print how it is used'
complete -c veilpane -n 'test (__veilpane_words) -eq 1' -a --version -d 'Print the version'
complete -c veilpane -n 'test (__veilpane_words) -eq 2; and contains -- --power (commandline -opc)' -a 'on off'
complete -c veilpane -n 'test (__veilpane_words) -eq 3; and contains -- --power (commandline -opc)' \
    -a '(__veilpane_displays)'
