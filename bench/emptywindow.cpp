#include "startwindow.h"

// The least that a program with a GL surface of this toolkit takes to its first frame, and of
// memory:
//   pixmoth-bench-empty WIDTH HEIGHT START

int main(int argc, char* argv[])
{
    return measureStart<StartWindow>(argc, argv);
}
