# Of llvm-cov's summaries of fuzz targets, NAME.json each, a table for people: each target and its files.
# $root: of the project, with a slash

include "cells";

header,
(inputs | .data[0].files as $files
 | "\($files | cells)  \(input_filename | sub(".*/"; "") | rtrimstr(".json"))",
   ($files[] | "\([.] | cells)    \(.filename | ltrimstr($root))"))
