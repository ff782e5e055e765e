#include "tools/terminal/completion/completion.hpp"
#include "tools/terminal/completion/script_text.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace terminal::completion
{

namespace
{

// Paths are left to readline, which knows how to quote them: COMPREPLY stays empty then.
constexpr const char *ENGINE = R"bash(
# Adds the words that begin with the current one. In a list what is behind the last comma counts, and what is there already is
# not offered again.
_PROGRAM_offer() # WORD...
{
    local front='' part=$current word
    if [[ -n $is_list && $current == *,* ]]; then
        front=${current%,*},
        part=${current##*,}
    fi
    for word in "$@"; do
        [[ $word == "$part"* && ,$front != *,$word,* ]] || continue
        COMPREPLY+=("$front$word")
        [[ -n $is_list || $word == *: ]] && compopt -o nospace 2>/dev/null
    done
}

_PROGRAM_offer_values() # what `values` and `paths` say; behind a : there is a path
{
    [[ -n $paths && $current == *:* ]] || _PROGRAM_offer $values
    if [[ ${#COMPREPLY[@]} -eq 0 && -n $paths ]]; then
        compopt -o "$paths" 2>/dev/null
    fi
}

_PROGRAM()
{
    local IFS=$' \t\n'
    COMPREPLY=()
    # The words as the program gets them: readline also parts them at = and :, and the last one ends at the cursor.
    local line=${COMP_LINE:0:COMP_POINT} words=() count=0 index word
    for ((index = 0; index <= COMP_CWORD; ++index)); do
        word=${COMP_WORDS[index]}
        local rest=${line#"${line%%[![:blank:]]*}"}
        ((index == COMP_CWORD)) && word=$rest
        if ((count > 0)) && [[ $rest == "$line" ]]; then
            words[count - 1]+=$word
        else
            words[count]=$word
            ((++count))
        fi
        line=${rest#"$word"}
    done

    local command='' place=1 given=' ' awaits='' only_places='' values paths is_list has_value
    for ((index = 1; index < count - 1; ++index)); do
        word=${words[index]}
        if [[ -n $awaits && $word != -?* ]]; then
            awaits=''
        elif [[ -z $only_places && $word == -- ]]; then
            only_places=1
        elif [[ -z $only_places && $word == -?* ]]; then
            awaits=''
            given+="${word%%=*} "
            _PROGRAM_look_up "$word"
            [[ -n $has_value ]] && awaits=$word
        elif [[ -n 'COMMANDS' && -z $command ]]; then
            command=$word
        else
            ((++place))
        fi
    done

    local current=${words[count - 1]} options=() option
    if [[ -z $only_places && $current == --*=* ]]; then
        option=${current%%=*}
        current=${current#*=}
        _PROGRAM_look_up "$option"
        [[ -n $has_value ]] || return 0
        _PROGRAM_offer_values
        # Where readline has parted the word at the =, it puts in what is behind it.
        [[ $COMP_WORDBREAKS == *=* ]] || COMPREPLY=("${COMPREPLY[@]/#/$option=}")
    elif [[ -n $awaits && $current != -?* ]]; then
        _PROGRAM_look_up "$awaits"
        _PROGRAM_offer_values
    elif [[ -z $only_places && $current == -* ]]; then
        _PROGRAM_options
        is_list=''
        for option in "${options[@]}"; do
            _PROGRAM_rules_out "$option" || _PROGRAM_offer "$option"
        done
    elif [[ -n 'COMMANDS' && -z $command ]]; then
        is_list=''
        _PROGRAM_offer COMMANDS
    else
        _PROGRAM_look_up "$place"
        _PROGRAM_offer_values
    fi
}
)bash";

std::string setting_of(const values &of)
{
    std::string setting = "has_value=1";
    if (!of.kind.words.empty())
        setting += fmt::format(" values='{}'", texts_of(of.kind));
    if (of.kind.has_files || of.kind.has_folders)
        setting += of.kind.has_files ? " paths=default" : " paths=dirnames";
    return of.is_list ? setting + " is_list=1" : setting;
}

std::string look_up_of(const command &of, const std::string &name)
{
    std::string text;
    for (const option &each : of.options) {
        if (each.takes)
            text += fmt::format("    {0}:{1}) {2} ;;\n", name, fmt::join(each.names, fmt::format(" | {}:", name)),
                                setting_of(*each.takes));
    }
    for (std::size_t place = 0; place < of.places.size(); ++place) {
        text +=
            fmt::format("    {}:{}) {} ;;\n", name, place_pattern(of, place, "[0-9]*"), setting_of(of.places[place]));
    }
    return text;
}

// The options of a command that have not been given, nor ruled out by one that has.
std::string rules_of(const command &of, const std::string &name)
{
    std::string text;
    for (const option &each : of.options) {
        const std::vector<std::string> ends = ends_of(each);
        if (!ends.empty())
            text += fmt::format("    {0}:{1}) set -- {2} ;;\n", name,
                                fmt::join(each.names, fmt::format(" | {}:", name)), fmt::join(ends, " "));
    }
    return text;
}

std::string options_of(const command &of, const std::string &name)
{
    std::vector<std::string> names;
    for (const option &each : of.options)
        names.insert(names.end(), each.names.begin(), each.names.end());
    return fmt::format("    '{}') options=({}) ;;\n", name, fmt::join(names, " "));
}

template <class Part>
std::string of_all(const program &of, Part part)
{
    std::string text = part(of.line, "");
    for (const command &each : of.commands)
        text += part(each, each.name);
    return text;
}

} // namespace

std::string bash_script(const program &of, const std::string &how)
{
    const std::string function = "_" + of.name;
    std::vector<std::string> commands;
    for (const command &each : of.commands)
        commands.push_back(each.name);
    std::string text = fmt::format("# Completion of {} for bash. Generated by `{}`.\n\n", of.name, how);
    text +=
        fmt::format("# What follows an option of the command, or stands at a place.\n{}_look_up() # OPTION|PLACE\n{{\n"
                    "    values='' paths='' is_list='' has_value=''\n    case $command:$1 in\n{}    esac\n}}\n\n",
                    function, of_all(of, look_up_of));
    text += fmt::format("{}_options() # sets options\n{{\n    case $command in\n{}    esac\n}}\n\n", function,
                        of_all(of, options_of));
    text +=
        fmt::format("# Whether an option is given already, or another that excludes it.\n{}_rules_out() # OPTION\n{{\n"
                    "    local other\n    case $command:$1 in\n{}    *) return 1 ;;\n    esac\n"
                    "    for other in \"$@\"; do\n        [[ $given == *\" $other \"* ]] && return 0\n    done\n"
                    "    return 1\n}}\n",
                    function, of_all(of, rules_of));
    text += replaced(replaced(ENGINE, "COMMANDS", fmt::format("{}", fmt::join(commands, " "))), "_PROGRAM", function);
    return text + fmt::format("\ncomplete -F {} {}\n", function, of.name);
}

} // namespace terminal::completion
