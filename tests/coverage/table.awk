# Combines reports of llvm-cov into one table, with a row for each file of the library and each room of the host. Fails,
# with a line on standard error, if a target is missed. Shares are rounded down, so that 100 % means everything.
# Usage: awk -f table.awk part=library REPORT part=host REPORT

function add(row, kind, total, missed) {
  totals[part, row, kind] += total
  misses[part, row, kind] += missed
  totals[part, "", kind] += total
  misses[part, "", kind] += missed
}

function share(row, kind,    total) {
  total = totals[part, row, kind]
  if (total == 0) return "-"
  return sprintf("%.2f %% of %d", int(10000 * (total - misses[part, row, kind]) / total) / 100, total)
}

function print_row(title, row,    i) {
  printf "%-40s", title
  for (i = 1; i <= 4; ++i) printf "%19s", share(row, kinds[i])
  print ""
}

function print_part(    names, count, i) {
  count = split(rows[part], names, "\n")
  for (i = 1; i < count; ++i) print_row(names[i], names[i])
  print_row("the whole " part, "")
  print ""
}

function check(kind, target,    total, missed, names, count, lacking, i) {
  total = totals[part, "", kind]
  missed = misses[part, "", kind]
  if (total > 0 && missed * 100 <= (100 - target) * total) return
  count = split(rows[part], names, "\n")
  for (i = 1; i < count; ++i) if (misses[part, names[i], kind] > 0) lacking = lacking " " names[i]
  printf "The tests must reach %d %% of the %s of the %s, and miss %d of %d in:%s\n", target, kind, part, missed, \
    total, lacking >"/dev/stderr"
  failed = 1
}

BEGIN { split("lines functions branches conditions", kinds) }

NF == 13 && $1 ~ /\// {
  row = part == "host" ? "reference_host/" substr($1, 1, index($1, "/") - 1) : $1
  if (!((part, row, "lines") in totals)) rows[part] = rows[part] row "\n"
  add(row, "lines", $5, $6)
  add(row, "functions", $2, $3)
  add(row, "branches", $8, $9)
  add(row, "conditions", $11, $12)
}

END {
  printf "%-40s%19s%19s%19s%19s\n", "", "lines", "functions", "branches", "MC/DC conditions"
  part = "library"
  print_part()
  for (i = 1; i <= 4; ++i) check(kinds[i], 100)
  part = "host"
  print_part()
  check("lines", 95)
  check("branches", 85)
  exit failed
}
