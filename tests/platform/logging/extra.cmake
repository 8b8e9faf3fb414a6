target_link_libraries(platform_logging_tests PRIVATE ZLIB::ZLIB)
