#include "app/interface.h"

int main(int argc, char** argv) {
    return quorvane::platform::applicationMain(argc, argv, brightkeel::loadInterface);
}
