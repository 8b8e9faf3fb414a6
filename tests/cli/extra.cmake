find_package(nlohmann_json REQUIRED)
target_compile_definitions(cli_tests PRIVATE
    JSON_SCHEMA="${PROJECT_SOURCE_DIR}/cli/wickerlane.schema.json"
    CHECK_SCHEMA="${CMAKE_CURRENT_LIST_DIR}/check_schema.py"
    BASH_COMPLETION="${PROJECT_SOURCE_DIR}/cli/completion/wickerlane.bash"
    HELLO_EXAMPLE="$<TARGET_FILE:hello>"
    WICKERLANE_COMMAND="$<TARGET_FILE:wickerlane_command>" HOARDD_PROGRAM="$<TARGET_FILE:hoardd>")
target_link_libraries(cli_tests PRIVATE test_images wickerlane_testing nlohmann_json::nlohmann_json)
add_dependencies(cli_tests hello wickerlane_command hoardd hoardd-media)

# The server of `wickerlane view`, asked as a browser asks it.
if(NOT WICKERLANE_SANITIZE)
    find_program(WICKERLANE_PYTEST NAMES pytest-3 REQUIRED) # Debian's, so that it runs Debian's Python
    add_test(NAME cli/view COMMAND ${WICKERLANE_PYTEST} -q -p no:cacheprovider ${CMAKE_CURRENT_SOURCE_DIR}/cli/view)
    set_tests_properties(cli/view PROPERTIES TIMEOUT 600 ENVIRONMENT
        "PYTHONDONTWRITEBYTECODE=1;LC_ALL=C.UTF-8;HOARDD_PROGRAM=$<TARGET_FILE:hoardd>;WICKERLANE_COMMAND=$<TARGET_FILE:wickerlane_command>")
endif()
