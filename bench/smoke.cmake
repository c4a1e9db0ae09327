# Runs every benchmark case once at its smallest size (a smoke test: any error fails it), then the
# memory figures when they are built (not in a sanitizer build).
execute_process(
  COMMAND ${BENCH}
    "--benchmark_filter=/(0|1|1000)(/iterations:[0-9]+)?(/manual_time)?$"
    --benchmark_min_time=0.000001
  RESULT_VARIABLE bench_result
  OUTPUT_VARIABLE bench_output
  ERROR_VARIABLE bench_output)
message("${bench_output}")
if(NOT bench_result EQUAL 0 OR bench_output MATCHES "ERROR OCCURRED")
  message(FATAL_ERROR "arbor_bench failed")
endif()
if(MEMORY)
  execute_process(COMMAND ${MEMORY} RESULT_VARIABLE memory_result)
  if(NOT memory_result EQUAL 0)
    message(FATAL_ERROR "arbor_bench_memory failed")
  endif()
endif()
