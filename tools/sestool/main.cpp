// sestool: a command-line host for libmod_ses.so.1. The commands are listed in Commands.cpp.
#include "tools/sestool/Commands.h"

int main(int argc, char** argv) { return sestool::RunSestool(argc, argv); }
