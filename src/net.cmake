# LAN messaging: datagram codec, participant rules, log lines and the endpoint in
# pb_net (Qt Core and Network only); the participant list, the settings dialog and
# the adapter pages in pb_netui.
add_library(pb_net STATIC
  ${CMAKE_CURRENT_LIST_DIR}/net/datagram.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/netlog.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/participants.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/dispatchrule.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/netconfig.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/netendpoint.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/tagwire.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/tagsender.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/nettags.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/chatsession.cpp)
target_include_directories(pb_net PUBLIC ${CMAKE_CURRENT_LIST_DIR}/net)
target_link_libraries(pb_net PUBLIC pb_tags pb_store pb_core Qt6::Network)
target_sources(pb_net PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/net/localaddress.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/netsetupinput.cpp)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  target_sources(pb_net PRIVATE ${CMAKE_CURRENT_LIST_DIR}/net/localaddress_linux.cpp)
else()
  target_sources(pb_net PRIVATE ${CMAKE_CURRENT_LIST_DIR}/net/localaddress_other.cpp)
endif()

add_library(pb_netui STATIC
  ${CMAKE_CURRENT_LIST_DIR}/net/ui/netsetup.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/ui/grouplist.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/ui/frmnetwork.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/ui/userselect.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/ui/rcvresult.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/ui/sealedform.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/ui/resultform.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/ui/netchat.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/ui/netchatp.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/ui/userselct2.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/ui/chatreq.cpp)
target_include_directories(pb_netui PUBLIC ${CMAKE_CURRENT_LIST_DIR}/net/ui)
target_link_libraries(pb_netui PUBLIC pb_net Qt6::Widgets)

target_sources(pb_app PRIVATE ${CMAKE_CURRENT_LIST_DIR}/app/netdesk.cpp)
target_link_libraries(pb_app PUBLIC pb_netui)
target_sources(pinboard-cli PRIVATE ${CMAKE_CURRENT_LIST_DIR}/cli/netcommand.cpp)
target_link_libraries(pinboard-cli PRIVATE pb_net)
