# A daemon to talk to, and a connection that answers from a script.
target_sources(api_tests PRIVATE api/FromC.c hoardd/RunningHoardd.cpp client/FakeConnection.cpp)
set_target_properties(api_tests PROPERTIES C_STANDARD 11 C_STANDARD_REQUIRED ON C_EXTENSIONS OFF)
set_source_files_properties(api/FromOldCpp.cpp PROPERTIES COMPILE_OPTIONS -std=c++11)
set_source_files_properties(api/FromCppWithoutExceptions.cpp PROPERTIES COMPILE_OPTIONS -fno-exceptions)
target_link_libraries(api_tests PRIVATE test_images)
target_compile_definitions(api_tests PRIVATE
    HOARDD_PROGRAM="$<TARGET_FILE:hoardd>" C_EXAMPLE="$<TARGET_FILE:count>"
    LIST_EXAMPLE="$<TARGET_FILE:list>" SAVE_EXAMPLE="$<TARGET_FILE:save>"
    EXAMPLES_FOLDER="$<TARGET_FILE_DIR:save>")
add_dependencies(api_tests hoardd background changes count first_c first_cpp glib list poll retry save save_all)

# An interpreter that was built without sanitizers can't load a library that was built with them.
if(NOT WICKERLANE_SANITIZE)
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
    target_compile_definitions(api_tests PRIVATE
        PYTHON_EXAMPLE="WICKERLANE_LIBRARY=$<TARGET_FILE:wickerlane> ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/examples/count.py"
        FIRST_IN_PYTHON="PYTHONPATH=${PROJECT_SOURCE_DIR}/python PYTHONDONTWRITEBYTECODE=1 WICKERLANE_LIBRARY=$<TARGET_FILE:wickerlane> ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/examples/first.py")
endif()
