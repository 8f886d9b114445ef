# Of llvm-cov's summary a table for people: each room and what in it is reached least; ends with 1 when all
# together is below what the tests are to reach.
# $root: of the project, with a slash

include "cells";

def leastLines: 95;
def leastBranches: 85;

.data[0].files | map(.filename |= ltrimstr($root)) as $files
| header,
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
