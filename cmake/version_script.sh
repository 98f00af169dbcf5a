# Prints the linker's version script for a list of exports: version_script.sh exports.txt
# C names have no parenthesis and no blank; everything else is C++ as c++filt prints it.
echo '{'
echo '  global:'
grep -v '^#' "$1" | grep -v '[( ]' | sed 's/.*/    &;/'
if grep -v '^#' "$1" | grep -q '[( ]'; then
  echo '    extern "C++" {'
  grep -v '^#' "$1" | grep '[( ]' | sed 's/.*/      "&";/'
  echo '    };'
fi
echo '  local: *;'
echo '};'
