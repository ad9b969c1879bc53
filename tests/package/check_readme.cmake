# Checks that the README shows a file as it is.
#   cmake -DREADME=... -DFILE=... -P check_readme.cmake
file(READ ${README} readme)
file(READ ${FILE} content)
string(FIND "${readme}" "```c\n${content}```" found)
if(found EQUAL -1)
  message(FATAL_ERROR "${README} does not show ${FILE} as it is")
endif()
