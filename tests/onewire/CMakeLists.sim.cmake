vondrel_test(tst_simprobe SOURCES tst_simprobe.cpp LIBS vondrel_onewire TIMEOUT 60)
vondrel_test(tst_simtool SOURCES tst_simtool.cpp LIBS vondrel_onewire TIMEOUT 60)
add_dependencies(tst_simtool vondrel-sim)
