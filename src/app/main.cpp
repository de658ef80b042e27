#include "app/main_routine.h"

int main(int argc, char** argv) {
  return kx::MainRoutine(argc, argv);
}
