find_package(spdlog REQUIRED)
target_link_libraries(bench_log PRIVATE spdlog::spdlog)
