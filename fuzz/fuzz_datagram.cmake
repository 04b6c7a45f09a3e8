# The datagram fuzzer; the build must be clang with -fsanitize=fuzzer-no-link in
# CMAKE_CXX_FLAGS so the libraries it links are instrumented (fuzz/fuzz_datagram.sh).
add_executable(fuzz_datagram ${CMAKE_CURRENT_LIST_DIR}/fuzz_datagram.cpp)
target_link_libraries(fuzz_datagram PRIVATE pb_net)
target_link_options(fuzz_datagram PRIVATE -fsanitize=fuzzer)
