# orvane_test(NAME SECONDS PROGRAM...): a test that is ended after that time, which is many times what it takes. Tests run side
# by side, the longest first.
function(orvane_test name seconds)
  add_test(NAME ${name} COMMAND ${ARGN})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${seconds} COST ${seconds}
                       ENVIRONMENT_MODIFICATION "ORVANE_WINE_TIMEOUT=set:${seconds}")
endfunction()
