#include "batch.h"

int main(int argc, char** argv) { return batch::BatchMain(argc, argv); }
