target_sources(testing_tests PRIVATE testing/ScriptFromC.c)
set_target_properties(testing_tests PROPERTIES C_STANDARD 11 C_STANDARD_REQUIRED ON C_EXTENSIONS OFF)
target_link_libraries(testing_tests PRIVATE wickerlane_testing)

# The examples of docs/testing.md.
foreach(example test_albums test_album_count)
    add_test(NAME testing/${example} COMMAND ${example})
    set_tests_properties(testing/${example} PROPERTIES TIMEOUT 60)
endforeach()

# A plain Python can't load a library that was built with sanitizers.
if(NOT WICKERLANE_SANITIZE)
    find_program(WICKERLANE_PYTEST NAMES pytest-3 REQUIRED) # Debian's, so that it runs Debian's Python
    add_test(NAME testing/python
             COMMAND ${WICKERLANE_PYTEST} -q -p no:cacheprovider ${CMAKE_CURRENT_SOURCE_DIR}/testing
                     ${PROJECT_SOURCE_DIR}/examples/test_albums.py)
    set_tests_properties(testing/python PROPERTIES TIMEOUT 300 ENVIRONMENT
        "PYTHONDONTWRITEBYTECODE=1;PYTHONPATH=${PROJECT_SOURCE_DIR}/python;WICKERLANE_LIBRARY=$<TARGET_FILE:wickerlane>")
endif()
