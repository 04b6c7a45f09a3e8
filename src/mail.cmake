# Mail: the communication log and the mail files below; session, composition,
# address book rules and a tag's mail in pb_mail; their windows in pb_mailui.
target_sources(pb_core PRIVATE ${CMAKE_CURRENT_LIST_DIR}/core/commlog.cpp)
target_sources(pb_store PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/store/mailsettingsfile.cpp
  ${CMAKE_CURRENT_LIST_DIR}/store/addressbookfile.cpp)

add_library(pb_mail STATIC
  ${CMAKE_CURRENT_LIST_DIR}/mail/socketerrortext.cpp
  ${CMAKE_CURRENT_LIST_DIR}/mail/smtpreplyreader.cpp
  ${CMAKE_CURRENT_LIST_DIR}/mail/smtpsession.cpp
  ${CMAKE_CURRENT_LIST_DIR}/mail/mailsender.cpp
  ${CMAKE_CURRENT_LIST_DIR}/mail/mailcompose.cpp
  ${CMAKE_CURRENT_LIST_DIR}/mail/addressbook.cpp
  ${CMAKE_CURRENT_LIST_DIR}/mail/tagmail.cpp)
target_include_directories(pb_mail PUBLIC ${CMAKE_CURRENT_LIST_DIR}/mail)
target_link_libraries(pb_mail PUBLIC pb_store pb_core Qt6::Network)

add_library(pb_mailui STATIC
  ${CMAKE_CURRENT_LIST_DIR}/mail/ui/smtpsetup.cpp
  ${CMAKE_CURRENT_LIST_DIR}/mail/ui/addresslist.cpp
  ${CMAKE_CURRENT_LIST_DIR}/mail/ui/sendmail.cpp)
target_include_directories(pb_mailui PUBLIC ${CMAKE_CURRENT_LIST_DIR}/mail/ui)
target_link_libraries(pb_mailui PUBLIC pb_mail Qt6::Widgets)

target_sources(pb_app PRIVATE ${CMAKE_CURRENT_LIST_DIR}/app/maildesk.cpp)
target_link_libraries(pb_app PUBLIC pb_mailui)
target_sources(pinboard-cli PRIVATE ${CMAKE_CURRENT_LIST_DIR}/cli/mailcommand.cpp)
target_link_libraries(pinboard-cli PRIVATE pb_mail)
