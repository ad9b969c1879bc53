# Plain comments, as the headers have them, in the form that Doxygen reads: a comment before a declaration belongs to it, one
# behind a declaration to what stands before.
s,\([;{,(] *\)/\* ,\1/**< ,
s,^\( *\)/\*$,\1/**,
s,^\( *\)/\* ,\1/** ,
s,^\( *[^ /].*[;,] *\)// ,\1///< ,
s,^\( *\)// ,\1/// ,
s,^\( *\)//$,\1///,
