#include "cli/run.h"

int main(int argc, char** argv) { return kinora::cli::Run(argc, argv); }
