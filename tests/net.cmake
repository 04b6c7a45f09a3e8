pb_add_test(datagram net pb_net)
pb_add_test(netendpoint net pb_net)
pb_add_test(netsetup net pb_netui)
pb_add_test(lanmain net pb_app)
