// The command sarvo.
#include "app.h"

int main(int argc, char **argv) { return command::run(argc, argv); }
