target_link_libraries(hoardd_tests PRIVATE hoardd_core test_images)
target_compile_definitions(hoardd_tests PRIVATE HOARDD_PROGRAM="$<TARGET_FILE:hoardd>")
add_dependencies(hoardd_tests hoardd)
