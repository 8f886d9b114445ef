# Of files as llvm-cov exports them a row: how much of their lines and branches is reached, and how much is not.

def part(kind): {covered: (map(.summary[kind].covered) | add), count: (map(.summary[kind].count) | add)};
def percent: if .count == 0 then 100 else 100 * .covered / .count end;
def right(width): tostring | (width - length) as $blanks | (if $blanks > 0 then " " * $blanks else "" end) + .;
def rounded: . * 10 | floor / 10 | tostring | if contains(".") then . else . + ".0" end;
def cells: part("lines") as $lines | part("branches") as $branches
    | "\($lines | percent | rounded | right(6)) %\($lines.count - $lines.covered | right(6))"
    + "\($branches | percent | rounded | right(9)) %\($branches.count - $branches.covered | right(6))";
def header: "  lines  missed  branches missed";
