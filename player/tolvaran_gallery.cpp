// Writes the gallery of the scenarios in a directory, or checks that it is current.

#include <iostream>

#include "player/gallery.hpp"

int main(int argc, char** argv) {
    return simulator::runGallery({argv + 1, argv + argc}, std::cerr);
}
