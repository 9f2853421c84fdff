#include "consumer.h"

int main(int argc, char **argv) { return argc == 2 ? convertFile(argv[1]) : 2; }
