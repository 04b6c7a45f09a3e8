pb_add_test(fileopener system pb_system)
