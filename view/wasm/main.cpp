#include "Session.h"

int main(int argc, char** argv) { return tool::runProgram({argv + 1, argv + argc}); }
