pb_add_test(mailsettingsfile store pb_store)
pb_add_test(mailcompose mail pb_mail)
# Reads a composed mail back with Python's own mail parser.
target_compile_definitions(tst_mailcompose PRIVATE
  PARSEMAIL_PY="${CMAKE_CURRENT_LIST_DIR}/mail/parsemail.py")
# The session and sender against tests/mail/smtpserver.py on loopback. The
# unresolvable host has an empty label, so Qt refuses it without asking a name server.
pb_add_test(smtpsession mail pb_mail)
pb_add_test(smtpreplyreader mail pb_mail)
pb_add_test(smtpsetup mail pb_mailui)
pb_add_test(tagmail mail pb_mail)
foreach(test tst_smtpsession tst_smtpsetup tst_tagmail)
  target_compile_definitions(${test} PRIVATE
    SMTP_SERVER_SCRIPT="${CMAKE_CURRENT_LIST_DIR}/mail/smtpserver.py"
    PARSEMAIL_PY="${CMAKE_CURRENT_LIST_DIR}/mail/parsemail.py"
    UNRESOLVABLE_HOST="nohost..invalid")
  target_include_directories(${test} PRIVATE ${CMAKE_CURRENT_LIST_DIR}/common)
endforeach()
pb_add_test(addressbook mail pb_mail)
pb_add_test(addresslist mail pb_mailui)
