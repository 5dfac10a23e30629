#include <iostream>

#include "host/commands/command_line.h"

int main(int argc, char** argv) {
    return em_pni::pniHost(argc, argv, std::cout, std::cerr);
}
