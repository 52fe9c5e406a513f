# Completion of veilpane for fish.

function __veilpane_words
    count (commandline -opc)
end

complete -c veilpane -f
complete -c veilpane -n 'test (__veilpane_words) -eq 1' -a --power -d 'Switch a display'
complete -c veilpane -n 'test (__veilpane_words) -eq 1' -a --list -d 'List the displays'
complete -c veilpane -n 'test (__veilpane_words) -eq 1' -a --selftest -d 'Switch one external display off and on'
complete -c veilpane -n 'test (__veilpane_words) -eq 2; and contains -- --power (commandline -opc)' -a 'on off'
complete -c veilpane -n 'test (__veilpane_words) -eq 3; and contains -- --power (commandline -opc)' \
    -a '(veilpane --list 2>/dev/null | cut -f 1,2)'
