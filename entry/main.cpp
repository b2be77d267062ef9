#include "entry/program.h"

int main(int argc, char** argv) { return kinora::entry::RunEntry(argc, argv); }
