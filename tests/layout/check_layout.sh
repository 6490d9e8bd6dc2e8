#!/bin/bash
# Checks the library's sources under $1 (the repository root):
#  - includes point down only: util <- trace <- signal <- bus, input,
#    expression, event; a folder includes itself and the layers below it;
#  - no library code writes to the process's standard streams or ends the
#    process: that is the default message sink's alone
#    (signal/MessageSink.cpp).
# Comments are left out of the second check. Prints every offence; the exit
# status is the number of kinds of offence found.
root=${1:?usage: check_layout.sh <repository root>}
cd "$root" || exit 2

declare -A below=(
    [util]=""
    [trace]="util"
    [signal]="util trace"
    [bus]="util trace signal"
    [input]="util trace signal"
    [expression]="util trace signal"
    [event]="util trace signal"
)
sources() { find "$1" -maxdepth 1 -type f \( -name '*.h' -o -name '*.cpp' -o -name '*.l' -o -name '*.y' \) | sort; }

failed=0
for folder in "${!below[@]}"; do
    allowed=" $folder ${below[$folder]} "
    while IFS= read -r file; do
        while IFS=: read -r line target; do
            [[ $allowed == *" $target "* ]] && continue
            echo "$file:$line: includes $target/, a layer above $folder/"
            failed=1
        done < <(grep -no '^[[:space:]]*#[[:space:]]*include[[:space:]]*"[^"/]*/' "$file" |
                 sed -E 's/^([0-9]+):.*"([^"/]*)\/$/\1:\2/')
    done < <(sources "$folder")
done

streams=0
streamsUsed='\b(std::)?(cout|cerr|clog)\b|\b(f?printf|puts|perror)[[:space:]]*\('
processEnded='\b(std::)?(_?exit|quick_exit|abort)[[:space:]]*\('
forbidden="$streamsUsed|$processEnded"
while IFS= read -r file; do
    [[ $file == signal/MessageSink.cpp ]] && continue
    # Blank out // comments and the lines of /* */ blocks (keeping the line
    # numbers), then look.
    hits=$(sed -E 's://.*$::; s:^[[:space:]]*(/\*|\*).*$::' "$file" | grep -nE "$forbidden")
    if [[ -n $hits ]]; then
        sed "s|^|$file:|" <<< "$hits"
        streams=1
    fi
done < <(for folder in "${!below[@]}"; do sources "$folder"; done; echo rksignal.h)

exit $((failed + streams))
