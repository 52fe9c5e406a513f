# Adds up the instructions that callgrind attributes to one object file, calls into others left out, and without
# those of the simulated Mac that are linked into it.
# Usage: awk -v name='/Veilpane$' -f own-instructions.awk callgrind.out

# An object or a function is named at its first use, which may be that of a callee.
function number_and_name(names) {
    match($0, /\([0-9]+\)/)
    id = substr($0, RSTART, RLENGTH)
    rest = substr($0, RSTART + RLENGTH + 1)
    if (rest != "") names[id] = rest
    return id
}
/^ob=/ { in_object = object[number_and_name(object)] ~ name; next }
/^cob=/ { number_and_name(object); next }
/^fn=/ { in_program = function_name[number_and_name(function_name)] !~ /^simulated_mac::/; next }
/^cfn=/ { number_and_name(function_name); next }
# The line after it holds the cost of the callee.
/^calls=/ { getline; next }
/^[-+*0-9]/ && in_object && in_program { sum += $2 }
END { printf "%d\n", sum }
