#include "camera/command.h"

int main(int argc, char **argv) {
    return kxinfo::runProgram(kxinfo::kKxinfo, argc, argv);
}
