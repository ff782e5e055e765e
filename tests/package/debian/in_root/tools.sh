# What ribtool's package brings besides the tools: manuals, completions, the dissector.
. /test/in_root/steps.sh

claim "man finds a page for each tool, each command, the language and the libraries"
for page in 1:ribtool 1:ribtool-explain 1:zidlc 5:zidl 3:librib 3:rib_frames 3:rib_inspect; do
    man -P cat "${page%%:*}" "${page#*:}" >page 2>errors || fail "man ${page#*:}: $(cat errors)"
    grep -q NAME page && [ ! -s errors ] || fail "man ${page#*:}: $(cat errors page)"
done

claim "bash completes commands and options"
bash -c '. /usr/share/bash-completion/bash_completion; _completion_loader ribtool
    COMP_WORDS=(ribtool exp) COMP_CWORD=1 COMP_LINE="ribtool exp" COMP_POINT=11
    handler=$(complete -p ribtool | sed "s/.*-F \([^ ]*\).*/\1/"); $handler ribtool exp ribtool; printf "%s\n" "${COMPREPLY[@]}"' >completed
grep -qx "explain *" completed || fail "bash completes ribtool exp to: $(cat completed)"
bash -c '. /usr/share/bash-completion/bash_completion; _completion_loader zidlc
    COMP_WORDS=(zidlc --pre) COMP_CWORD=1 COMP_LINE="zidlc --pre" COMP_POINT=11
    handler=$(complete -p zidlc | sed "s/.*-F \([^ ]*\).*/\1/"); $handler zidlc --pre zidlc; printf "%s\n" "${COMPREPLY[@]}"' >completed
grep -qx "\-\-prefix *" completed || fail "bash completes zidlc --pre to: $(cat completed)"

claim "fish completes commands and options"
fish -c 'complete -C "ribtool exp"' >completed
grep -q "^explain" completed || fail "fish completes ribtool exp to: $(cat completed)"
fish -c 'complete -C "zidlc --pre"' >completed
grep -q "^--prefix" completed || fail "fish completes zidlc --pre to: $(cat completed)"

claim "zsh completes commands"
# A terminal of its own, since zsh completes for people alone.
cat >complete.zsh <<'Z'
zmodload zsh/zpty
zpty shell zsh -f -i
zpty -w shell 'PS1=; unset zle_bracketed_paste; autoload -U compinit && compinit -u -D; print REA""DY'
zpty -r shell out '*READY*'
zpty -w -n shell $'ribtool exp\t'
zpty -r shell out '*explain*'
print completed
Z
[ "$(timeout 60 zsh -f complete.zsh)" = completed ] || fail "zsh does not complete ribtool exp"

claim "tshark finds the dissector by itself"
quietly ribtool synth --profile mixed --updates 50 --seed 1 -o updates.pcap
tshark -r updates.pcap -T fields -e rib.code >codes 2>errors || fail "tshark: $(cat errors)"
[ "$(grep -c '[0-9]' codes)" -eq 50 ] || fail "tshark knows $(grep -c '[0-9]' codes) of 50 updates: $(cat errors)"
