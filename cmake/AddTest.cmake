# orvane_test(NAME SECONDS PROGRAM...): adds a test with a time limit, which is many times what it needs. Tests run in
# parallel, the longest first.
function(orvane_test name seconds)
  add_test(NAME ${name} COMMAND ${ARGN})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${seconds} COST ${seconds}
                       ENVIRONMENT_MODIFICATION "ORVANE_WINE_TIMEOUT=set:${seconds}")
endfunction()
