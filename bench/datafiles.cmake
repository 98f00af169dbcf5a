# Data files against one pass over the same bytes in memory.
add_executable(datafiles_bench datafiles_bench.cpp)
target_link_libraries(datafiles_bench PRIVATE zlt_options zlt_datafiles)
