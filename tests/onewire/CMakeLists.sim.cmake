vondrel_test(tst_simprobe SOURCES tst_simprobe.cpp LIBS vondrel_onewire TIMEOUT 60)
