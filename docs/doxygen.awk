# Lets Doxygen see the plain comments of the headers: a comment in front of a declaration documents it,
# and those that follow without an empty line; one behind a declaration documents that; the first one
# of a file, the file. What is not exported is left out.

function escaped(text) {
  gsub(/[\\@#<>&%$"]/, "\\\\&", text)
  return text
}

function flush(  i) {
  for (i = 1; i <= lines; ++i) print comment[i]
}

# A comment is kept until it is known what it is about.
function keep(text) {
  if (isOpen == 0) {
    lines = 0
    if (fileComment == 0) comment[++lines] = "/// @file"
    isOpen = 1
  }
  comment[++lines] = "/// " escaped(text)
}

FNR == 1 { isOpen = lines = fileComment = inside = skipping = 0 }

# Comments in front, of both kinds.
inside || /^ *\/\*/ {
  text = $0
  inside = !sub(/ *\*\/ *$/, "", text)
  sub(/^ *\/?\*+ ?/, "", text)
  if (inside || text != "") keep(text)
  next
}
/^ *\/\// {
  text = $0
  sub(/^ *\/\/ ?/, "", text)
  keep(text)
  next
}

{
  if (isOpen && fileComment == 0) {
    flush()
    fileComment = 1
    lines = 0
  }
  isOpen = 0
}

/^ *$/ { lines = 0 }
/KAV_EPUB_LOCAL|= delete;/ { if (!/#define/) skipping = 1 }
skipping {
  if (/;/) skipping = 0
  next
}

# Declarations: the line that begins one gets the comment.
/^( *[A-Za-z~]|#define )/ && !continued { flush() }
{
  continued = /[^;{}:>]$/ && !/^ *(#|$)/ && !/^ *[A-Z_]+ = .*,$/
  # Fields without a comment are explained by that of their record.
  if (/[{}]|^ *(public|private):/ && !/^ *(typedef )?struct /) lines = 0
  # A comment behind a declaration; one that goes on in the next lines ends there.
  if (match($0, / *\/[\/*] ?/) && RSTART > 1) {
    text = substr($0, RSTART + RLENGTH)
    mark = substr($0, RSTART, RLENGTH)
    code = substr($0, 1, RSTART - 1)
    if (mark ~ /\*/) {
      while (text !~ /\*\//) { getline more; sub(/^ */, "", more); text = text " " more }
      sub(/ ?\*\/.*$/, "", text)
    }
    print code " ///< " escaped(text)
    continued = 0
    next
  }
  print
}
