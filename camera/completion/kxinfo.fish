# fish completion for kxinfo: what bash's offers, see there.

set -g _kxinfo_bash (status dirname)/../../bash-completion/completions/kxinfo

function _kxinfo_offered
    set -l before (commandline -opc)
    bash $_kxinfo_bash (count $before) $before (commandline -ct) 2>/dev/null
end

complete -c kxinfo -f -a '(_kxinfo_offered)'
