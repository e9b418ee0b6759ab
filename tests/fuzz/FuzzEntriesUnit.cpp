// The fuzz entry points, compiled into the replay test as they are into the fuzz targets (test
// programs are made of the .cpp files of their own folder only).
#include "../../fuzz/FuzzEntries.cpp"
