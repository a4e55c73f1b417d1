# Lists the lines and branches that no test reaches, from the output of `llvm-cov show -show-branches=count`. If several
# sources have a copy of a function, a branch counts as reached when any copy takes it.

/^[^ ].*:$/ { file = substr($0, 1, length($0) - 1) }

match($0, /^ *[0-9]+\| *[0-9.kMG]*\|/) {
  split($0, columns, "|")
  source = substr($0, RLENGTH + 1)
  gsub(/^ +/, "", source)
  if (columns[2] ~ /^ *0$/ && source !~ /^}/) places[++count] = file ":" columns[1] + 0 ": " source
}

/Branch \([0-9:]+\): \[True: / {
  split($0, numbers, /[^0-9.kMG]+/)
  note(file ":" numbers[2] ":" numbers[3] ": never true: " source, numbers[4])
  note(file ":" numbers[2] ":" numbers[3] ": never false: " source, numbers[5])
}

function note(place, times) {
  if (!(place in taken)) places[++count] = place
  taken[place] = taken[place] || times != "0"
}

END { for (i = 1; i <= count; ++i) if (!taken[places[i]]) print places[i] }
