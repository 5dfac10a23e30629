#include <iostream>

#include "host/command_line.h"

int main(int argc, char** argv) {
    return em_pni::pniHost(argc, argv, std::cout, std::cerr);
}
