target_link_libraries(bench_uuid PRIVATE PkgConfig::UUID)
