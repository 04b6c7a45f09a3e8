# System integration: hotkey rules and form, shortcuts and uninstall, the data
# folder offscreen; real grabs with xdotool under X; the installed programs.
pb_add_test(hotkeyplan app pb_app)
pb_add_test(shortcuts app pb_app)
pb_add_test(datafolder app pb_app)
pb_add_test(hotkeysx11 app pb_app)
target_link_libraries(tst_hotkeysx11 PRIVATE PkgConfig::XCB)
set_tests_properties(hotkeysx11 PROPERTIES LABELS "app;x11" ENVIRONMENT "QT_QPA_PLATFORM=xcb;LC_ALL=C.UTF-8")
pb_add_test(install app pb_store pb_system)
target_compile_definitions(tst_install PRIVATE CMAKE_COMMAND="${CMAKE_COMMAND}"
  PINBOARD_BUILD_DIR="${PROJECT_BINARY_DIR}")
set_tests_properties(install PROPERTIES LABELS "app;install")
