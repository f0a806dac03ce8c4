# bash completion for the vexora tool: commands, their options, operations and formats, and
# file names. The operations and formats are asked of the tool itself (its convert help), so
# the completion always matches the installed tool.

_vexora_convert_words() {
    vexora convert --help 2>/dev/null | sed -n 's/^  \(--[a-z0-9-]*\).*/\1/p'
}

_vexora_formats() {
    vexora convert --help 2>/dev/null | sed -n '/^output formats/,/^operations/s/^  \([a-z]\{2,\}\)  .*/\1/p'
}

_vexora() {
    local cur prev command
    cur=${COMP_WORDS[COMP_CWORD]}
    prev=${COMP_WORDS[COMP_CWORD-1]}
    local commands="info convert demo view print printers help"
    local i word
    command=
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        case $word in
            -q|--quiet) ;;
            *) command=$word; break ;;
        esac
    done
    if [[ -z $command ]]; then
        COMPREPLY=($(compgen -W "$commands --quiet --version --help" -- "$cur"))
        return
    fi
    case $command in
        help)
            COMPREPLY=($(compgen -W "info convert demo view print printers" -- "$cur")) ;;
        convert)
            case $prev in
                --format) COMPREPLY=($(compgen -W "$(_vexora_formats)" -- "$cur")); return ;;
                --compression) COMPREPLY=($(compgen -W "none g4 lzw packbits deflate jpeg rle" -- "$cur")); return ;;
            esac
            if [[ $cur == -* ]]; then
                COMPREPLY=($(compgen -W "$(_vexora_convert_words) --quiet --help" -- "$cur"))
            else
                COMPREPLY=($(compgen -f -- "$cur"))
            fi ;;
        info)
            if [[ $cur == -* ]]; then COMPREPLY=($(compgen -W "--page --help" -- "$cur"))
            else COMPREPLY=($(compgen -f -- "$cur")); fi ;;
        demo)
            COMPREPLY=($(compgen -d -- "$cur")) ;;
        view)
            if [[ $cur == -* ]]; then COMPREPLY=($(compgen -W "--script --help" -- "$cur"))
            else COMPREPLY=($(compgen -f -- "$cur")); fi ;;
        print)
            if [[ $cur == -* ]]; then
                COMPREPLY=($(compgen -W "--printer --pdf --fit --stretch --centre --copies --dpi --title --help" -- "$cur"))
            else COMPREPLY=($(compgen -f -- "$cur")); fi ;;
    esac
}
complete -o filenames -F _vexora vexora
