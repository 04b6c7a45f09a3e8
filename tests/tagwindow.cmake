pb_add_test(tagplacement tags pb_tags)
pb_add_test(tagwindow tags pb_tagsui)
# The same program on a real X server: what the tags look like there.
add_test(NAME tagwindowx11 COMMAND tst_tagwindow onScreen)
set_tests_properties(tagwindowx11 PROPERTIES LABELS "tags;x11"
  ENVIRONMENT "QT_QPA_PLATFORM=xcb\;offscreen;LC_ALL=C.UTF-8")
