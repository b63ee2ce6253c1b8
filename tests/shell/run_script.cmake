# Runs a script of the shell in a fresh folder and compares what it prints with the expected text.
#   KXSH, SCRIPT             the program, the script
#   EXPECTED                 what standard output must be; anything by default
#   FOLDER                   where the script runs
#   STATUS                   the exit status, 0 by default
#   EXPECTED_ERRORS          what standard error must be; nothing by default
#   PRODUCES                 files that the script must leave in its folder, separated by commas
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER})
if(NOT DEFINED STATUS)
  set(STATUS 0)
endif()

execute_process(COMMAND ${KXSH} ${SCRIPT} WORKING_DIRECTORY ${FOLDER}
                OUTPUT_FILE output.txt ERROR_FILE errors.txt RESULT_VARIABLE status)

# Errors name the script as it was called.
file(READ ${FOLDER}/errors.txt errors)
get_filename_component(name ${SCRIPT} NAME)
string(REPLACE "${SCRIPT}" "${name}" errors "${errors}")
file(WRITE ${FOLDER}/errors.txt "${errors}")

function(compare what actual expected)
  execute_process(COMMAND diff -u ${expected} ${actual} OUTPUT_VARIABLE difference RESULT_VARIABLE differs)
  if(differs)
    message(FATAL_ERROR "${what} of ${SCRIPT} differs (+ is what it printed):\n${difference}")
  endif()
endfunction()

if(DEFINED EXPECTED)
  compare("Standard output" ${FOLDER}/output.txt ${EXPECTED})
endif()
if(DEFINED EXPECTED_ERRORS)
  compare("Standard error" ${FOLDER}/errors.txt ${EXPECTED_ERRORS})
else()
  compare("Standard error" ${FOLDER}/errors.txt /dev/null)
endif()
if(NOT status EQUAL STATUS)
  message(FATAL_ERROR "${SCRIPT} ended with status ${status}, not ${STATUS}")
endif()
string(REPLACE "," ";" products "${PRODUCES}")
foreach(product IN LISTS products)
  if(NOT EXISTS ${FOLDER}/${product})
    message(FATAL_ERROR "${SCRIPT} left no ${product}")
  endif()
endforeach()
