# Adds up the instructions that callgrind attributes to one object file, calls into others left out.
# Usage: awk -v name='/Veilpane$' -f own-instructions.awk callgrind.out

/^ob=/ {
    match($0, /\([0-9]+\)/)
    id = substr($0, RSTART, RLENGTH)
    rest = substr($0, RSTART + RLENGTH + 1)
    if (rest != "") object[id] = rest
    own = object[id] ~ name
    next
}
# An object is named at its first use, which may be as the object of a callee.
/^cob=/ {
    match($0, /\([0-9]+\)/)
    rest = substr($0, RSTART + RLENGTH + 1)
    if (rest != "") object[substr($0, RSTART, RLENGTH)] = rest
    next
}
# The line after it holds the cost of the callee.
/^calls=/ { getline; next }
/^[-+*0-9]/ && own { sum += $2 }
END { printf "%d\n", sum }
