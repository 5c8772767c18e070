// Process entry of the rastertokivcp filter.
#include "rastokivepl.h"

int main(int argc, char* argv[])
{
    return FilterMain(argc, argv);
}
