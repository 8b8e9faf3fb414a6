find_package(nlohmann_json REQUIRED)
target_compile_definitions(cli_tests PRIVATE
    HELLO_EXAMPLE="$<TARGET_FILE:hello>"
    WICKERLANE_COMMAND="$<TARGET_FILE:wickerlane_command>" HOARDD_PROGRAM="$<TARGET_FILE:hoardd>")
target_link_libraries(cli_tests PRIVATE test_images nlohmann_json::nlohmann_json)
add_dependencies(cli_tests hello wickerlane_command hoardd hoardd-media)
