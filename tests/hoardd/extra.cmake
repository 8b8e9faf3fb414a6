find_package(OpenSSL REQUIRED COMPONENTS Crypto)
target_link_libraries(hoardd_tests PRIVATE hoardd_core test_images OpenSSL::Crypto PkgConfig::SQLITE)
target_compile_definitions(hoardd_tests PRIVATE HOARDD_PROGRAM="$<TARGET_FILE:hoardd>"
                           MEDIA_WORKER="$<TARGET_FILE:hoardd-media>")
add_dependencies(hoardd_tests hoardd)
