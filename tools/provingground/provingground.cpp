// Writes the proving ground, and the line to drive round it.
#include <CLI/CLI.hpp>
#include <iostream>

#include "provingground/CentreLine.h"
#include "provingground/GroundFile.h"
#include "provingground/OutputFile.h"

int main(int argc, char** argv) {
    CLI::App app("Makes the proving ground: a circuit with bends, gravel, kerbs, a ramp, bumps and a jump.");
    std::string ground;
    std::string line;
    CLI::Option* groundOption = app.add_option("ground", ground, "ground to write (binary glTF)");
    CLI::Option* lineOption =
        app.add_option("--line", line, "centre line to write (CSV: x_m,z_m,y_m,station_m,speed_mps)");
    try {
        app.parse(argc, argv);
        if (groundOption->empty() && lineOption->empty())
            throw CLI::RequiredError("The name of the ground to write, or --line,");
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? 0 : 2;
    }
    try {
        using namespace ond::provingground;
        const Circuit circuit;
        const Surface surface(circuit);
        if (!groundOption->empty()) writeFile(ground, toGlb(buildGround(circuit, surface)));
        if (!lineOption->empty()) writeFile(line, toCsv(centreLine(circuit, surface)));
    } catch (const std::exception& e) {
        std::cerr << "provingground: " << e.what() << '\n';
        return 2;
    }
    return 0;
}
