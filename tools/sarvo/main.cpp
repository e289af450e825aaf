// The command sarvo.
#include "line/app.h"

int main(int argc, char **argv) { return command::run(argc, argv); }
