# Runs the quorvex host the way a newcomer does: the demo script, one -e
# expression, and a plot written to a BMP file.
#   cmake -DHOST=<quorvex> -DSOURCE=<repo> -DOUT=<scratch dir> -P run_host.cmake
function(check_output args expected)
  execute_process(COMMAND ${HOST} ${args} OUTPUT_VARIABLE out RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "quorvex ${args} exited with ${rc}")
  endif()
  if(NOT out STREQUAL expected)
    message(FATAL_ERROR "quorvex ${args}\n--- got ---\n${out}\n--- expected ---\n${expected}")
  endif()
endfunction()

file(READ ${SOURCE}/tests/cli/demo.expected demo)
check_output("${SOURCE}/examples/demo.qvx" "${demo}")
check_output("-e;deriv(sin(x)^2,x);sin(pi/2)" "2*cos(x)*sin(x)\n1\n")

file(REMOVE ${OUT}/plot.bmp)
execute_process(COMMAND ${HOST} --plot "sin(x)" 0 6.3 ${OUT}/plot.bmp 200 120 RESULT_VARIABLE rc)
if(NOT rc EQUAL 0 OR NOT EXISTS ${OUT}/plot.bmp)
  message(FATAL_ERROR "quorvex --plot wrote no file (exit ${rc})")
endif()
file(READ ${OUT}/plot.bmp magic LIMIT 2)
if(NOT magic STREQUAL "BM")
  message(FATAL_ERROR "plot.bmp does not start with BM")
endif()
