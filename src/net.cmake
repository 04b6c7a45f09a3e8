# LAN messaging: datagram codec, participant rules, log lines and the endpoint in
# pb_net (Qt Core and Network only); the participant list, the settings dialog and
# the adapter pages in pb_netui.
add_library(pb_net STATIC
  ${CMAKE_CURRENT_LIST_DIR}/net/datagram.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/netlog.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/participants.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/dispatchrule.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/netconfig.cpp
  ${CMAKE_CURRENT_LIST_DIR}/net/netendpoint.cpp)
target_include_directories(pb_net PUBLIC ${CMAKE_CURRENT_LIST_DIR}/net)
target_link_libraries(pb_net PUBLIC pb_store pb_core Qt6::Network)
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
  ${CMAKE_CURRENT_LIST_DIR}/net/ui/frmnetwork.cpp)
target_include_directories(pb_netui PUBLIC ${CMAKE_CURRENT_LIST_DIR}/net/ui)
target_link_libraries(pb_netui PUBLIC pb_net Qt6::Widgets)

target_sources(pb_app PRIVATE ${CMAKE_CURRENT_LIST_DIR}/app/netdesk.cpp)
target_link_libraries(pb_app PUBLIC pb_netui)
target_sources(pinboard-cli PRIVATE ${CMAKE_CURRENT_LIST_DIR}/cli/netcommand.cpp)
target_link_libraries(pinboard-cli PRIVATE pb_net)
