# Of llvm-cov's summary a table for people: each room and what in it is reached least; ends with 1 when all
# together is below what the tests are to reach.
# $root: of the project, with a slash

def leastLines: 95;
def leastBranches: 85;

def part(kind): {covered: (map(.summary[kind].covered) | add), count: (map(.summary[kind].count) | add)};
def percent: if .count == 0 then 100 else 100 * .covered / .count end;
def right(width): tostring | (width - length) as $blanks | (if $blanks > 0 then " " * $blanks else "" end) + .;
def rounded: . * 10 | floor / 10 | tostring | if contains(".") then . else . + ".0" end;
def cells: part("lines") as $lines | part("branches") as $branches
    | "\($lines | percent | rounded | right(6)) %\($lines.count - $lines.covered | right(6))"
    + "\($branches | percent | rounded | right(9)) %\($branches.count - $branches.covered | right(6))";

.data[0].files | map(.filename |= ltrimstr($root)) as $files
| "  lines  missed  branches missed",
  ($files | group_by(.filename | sub("/[^/]*$"; ""))[]
   | (.[0].filename | sub("/[^/]*$"; "")) as $room
   | "\(cells)  \($room)/",
     (.[] | select((.summary.lines | percent) < leastLines or (.summary.branches | percent) < 75)
      | [.] | "\(cells)    \(.[0].filename | sub(".*/"; ""))")),
  "\($files | cells)  all together",
  ($files
   | if (part("lines") | percent) < leastLines or (part("branches") | percent) < leastBranches
     then "too little is reached: \(leastLines) % of the lines and \(leastBranches) % of the branches are meant\n"
          | halt_error(1)
     else empty end)
