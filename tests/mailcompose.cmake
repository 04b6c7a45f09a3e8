pb_add_test(mailcompose mail pb_mailcompose)
# Reads a composed mail back with Python's own mail parser.
target_compile_definitions(tst_mailcompose PRIVATE
  PARSEMAIL_PY="${CMAKE_CURRENT_LIST_DIR}/mail/parsemail.py")
pb_add_test(mailsettingsfile store pb_store)
