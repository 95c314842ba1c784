# SPDX-License-Identifier: Apache-2.0
# Types a piece of a command and the tabulator at a zsh of its own, and prints what that shell shows:
#
#   zsh -f complete.zsh <folder of the functions> <what is typed>
zmodload zsh/zpty
zpty shell zsh -f -i
zpty -w shell "PROMPT=; fpath=(${(q)1} \$fpath); autoload -U compinit; compinit -u -D; echo rea'dy'"
shown=
while [[ $shown != *ready* ]]; do
    zpty -r shell line || exit 1
    shown+=$line
done
zpty -w -n shell "$2"$'\t'
# The line ends with a blank once it is complete; a shell that completes nothing shows nothing more.
for ((turn = 0; turn < 100; ++turn)); do
    sleep 0.1
    while zpty -r -t shell line; do
        shown+=$line
    done
    [[ $shown == *"$2"[a-z]* ]] && break
done
print -r -- "$shown"
zpty -d shell
