# Completion of the command `wickerlane` for fish. The command says itself what may come next.
function __wickerlane_complete
    set -l words (commandline -opc)
    set -l last (commandline -ct)
    for line in ($words[1] complete $words[2..-1] $last 2>/dev/null)
        if test "$line" = :files
            __fish_complete_path $last
        else
            echo $line
        end
    end
end
complete -c wickerlane -f -a '(__wickerlane_complete)'
