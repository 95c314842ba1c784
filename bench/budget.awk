# SPDX-License-Identifier: Apache-2.0
# Reads the limits, then callgrind's dumps; prints a table and fails when a limit is exceeded.

# The name behind "ob=", "fn=", "cfn=" or "cob=": "(number) name" at its first use in a file, then "(number)".
function name_of(line, kind,    number, name) {
    sub(/^[^=]*=/, "", line)
    number = name = line
    sub(/ .*/, "", number)
    if (sub(/^[^ ]* /, "", name)) names[FILENAME, kind, number] = name
    return names[FILENAME, kind, number]
}

# A figure with its limit; one over the limit is marked.
function show(width, digits, value, limit, slack,    text) {
    text = sprintf("%." digits "f", value)
    if (limit == "-") { printf "  %" width "s", text " / -  "; return }
    text = text " / " limit
    if (value > limit * slack) { exceeded++; text = text " !" } else text = text "  "
    printf "  %" width "s", text
}

/^#/ || /^$/ { next }
FILENAME ~ /\.limits$/ {
    order[++operations] = $1
    own_limit[$1] = $2; ratio_limit[$1] = $3; allocation_limit[$1] = $4; object_limit[$1] = $5
    next
}

FNR == 1 { call = object = callee = ""; calls = 0 }
/^desc: Trigger: Client Request: / { call = $5 " " $6; counted[$6] = 1 }
/^ob=/ { object = name_of($0, "ob") }
/^cob=/ { name_of($0, "ob") }
/^fn=/ { name_of($0, "fn") }
/^cfn=/ { callee = name_of($0, "fn") }
/^calls=/ { # the next line is what the callee cost, which stands under its own name as well
    calls = 1
    if (callee ~ /^operator new/) allocations[call] += substr($1, 7)
    next
}
/^[-+*0-9]/ {
    if (!calls) {
        total[call] += $2
        if (object ~ /\/libVornixToken_Javalib\.so$/) own[call] += $2
    }
    calls = 0
}

END {
    printf "%-30s  %16s  %18s  %16s  %16s\n", "", "own / limit", "of bare / limit", "allocations", "an object"
    for (i = 1; i <= operations; i++) {
        name = order[i]
        if (!(name in counted)) { print name ": not counted"; exceeded++; continue }
        delete counted[name]
        ours = "ours " name
        printf "%-30s", name
        show(16, 0, own[ours], own_limit[name], 1.05)
        show(18, 4, total[ours] / total["bare " name], ratio_limit[name], 1)
        show(16, 0, allocations[ours], allocation_limit[name], 1)
        if (object_limit[name] != "-")
            show(16, 0, (own[ours] - own[ours "/0"]) / 102, object_limit[name], 1.05)
        print ""
    }
    delete counted["ListObjects/0"]
    for (name in counted) { print name ": has no limits"; exceeded++ }
    if (exceeded) print exceeded " over the limit"
    exit exceeded != 0
}
