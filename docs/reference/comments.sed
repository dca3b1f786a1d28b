# Shows Doxygen the headers' plain comments: the block at the head is the file's, a comment behind a declaration is
# that declaration's, rules between sections are nobody's.
1s@^// @/// \\file\n/// @
/^ *\/\/ ----/b
s@^( *)//( |$)@\1///\2@
s@^(.*[^ /].*) // @\1 ///< @
