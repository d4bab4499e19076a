# The helpers' benchmarks: bench/checksum_bench.cpp.
add_executable(checksum_bench checksum_bench.cpp)
target_link_libraries(checksum_bench PRIVATE common benchmark::benchmark)
