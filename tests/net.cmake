pb_add_test(datagram net pb_net)
target_compile_definitions(tst_datagram PRIVATE PINBOARD_DOCS="${PROJECT_SOURCE_DIR}/docs")
pb_add_test(netendpoint net pb_net)
pb_add_test(netsetup net pb_netui)
pb_add_test(lanmain net pb_app)
pb_add_test(netcli net Qt6::Network)
target_compile_definitions(tst_netcli PRIVATE PINBOARD_CLI="$<TARGET_FILE:pinboard-cli>")
add_dependencies(tst_netcli pinboard-cli)
# Across processes in network namespaces (root only); exit 77 means skipped.
set(PINBOARD_LAN_NS_SCRIPT /work/shared/tools/lan-ns.sh CACHE FILEPATH
  "lan-ns.sh up|down N: test hosts 10.77.0.1-N on a private bridge")
pb_add_test(lanns net pb_store Qt6::Network)
target_compile_definitions(tst_lanns PRIVATE PINBOARD_CLI="$<TARGET_FILE:pinboard-cli>"
  PINBOARD_APP="$<TARGET_FILE:pinboard>" LAN_NS_SCRIPT="${PINBOARD_LAN_NS_SCRIPT}")
add_dependencies(tst_lanns pinboard pinboard-cli)
set_tests_properties(lanns PROPERTIES LABELS "net;x11" SKIP_RETURN_CODE 77 RUN_SERIAL TRUE
  ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8")
pb_add_test(tagwire net pb_net)
pb_add_test(tagexchange net pb_netui)
pb_add_test(chat net pb_net)
