# Completion of lcmp for fish. The program itself says how a line may go on: lcmp complete.

function __lcmp_complete
    set -l typed (commandline -opc)
    set -l word (commandline -ct | string unescape)
    # Behind "--model=", a path with that in front
    set -l option (string match -r -- '^-[^=]*=' "$word")
    set -l value (string replace -- "$option" '' "$word")
    for line in ($typed[1] complete -- $typed[2..-1] "$word" 2>/dev/null)
        switch $line
            case ':files'
                printf "$option%s\n" (__fish_complete_path "$value")
            case ':folders'
                printf "$option%s\n" (__fish_complete_directories "$value")
            case ':hosts'
                __fish_print_hostnames
            case '*'
                echo $line
        end
    end
end

complete -c lcmp -f -a '(__lcmp_complete)'
