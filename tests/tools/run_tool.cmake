# Runs the mortar program for one CTest case: cmake -DTOOL=... -DWORK=... -DARGS=... [-DSTDIN=...] -P run_tool.cmake
# Prints what the program wrote (standard output, then standard error) for the test's regular
# expression, and fails when the exit code is not what the case expects.
set(_input "")
if(STDIN)
  set(_input INPUT_FILE "${STDIN}")
endif()
execute_process(COMMAND "${TOOL}" ${ARGS}
  WORKING_DIRECTORY "${WORK}"
  ${_input}
  RESULT_VARIABLE _rc OUTPUT_VARIABLE _out ERROR_VARIABLE _err)
message("${_out}${_err}")
if(DEFINED ENV{EXPECT_FAILURE})
  if(_rc EQUAL 0)
    message(FATAL_ERROR "expected a failure, got exit code 0")
  endif()
elseif(NOT _rc EQUAL 0)
  message(FATAL_ERROR "exit code ${_rc}")
endif()
