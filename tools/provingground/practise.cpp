// Practises the circuit of the proving ground and records what the driver did, for others to drive by.
//
// A new recording is driven a second time, from what its file has, and must give every element the same place to the
// bit. An old one can be driven to see whether it is still good.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "provingground/OutputFile.h"
#include "provingground/PracticeCar.h"

namespace {

using namespace ond::provingground;
using ond::util::Matrix4;

struct Take {
    std::vector<InputRow> rows;
    std::vector<std::vector<Matrix4>> frames;
    double furthestOff = 0.0;    ///< from the line that the driver wants, metres
    double furthestWheel = 0.0;  ///< of the back wheels from the middle of the road, metres
    double fastest = 0.0;        ///< metres per second
    double driven = 0.0;         ///< along the line, metres
    int framesOnKerb = 0;
    int framesWithAWheelUp = 0;
    int framesAllUp = 0;
    std::vector<std::string> complaints;
};

/// As the file will have it.
double rounded(double value) { return std::round(value * 1e4) / 1e4; }

class Practice {
  public:
    Practice(const ond::stage::Module& module, std::string driveFile, std::string ground)
        : m_module(module), m_driveFile(std::move(driveFile)), m_ground(std::move(ground)) {}

    /// Drives with the driver at the wheel, or by `recorded` rows, one per frame.
    [[nodiscard]] Take drive(const std::vector<InputRow>* recorded) const {
        PracticeCar car(m_module, m_driveFile, m_ground);
        Driver driver(m_line, car.feel());
        Take take;
        take.rows.emplace_back();
        car.start(take.rows.back());
        while (car.frame() < car.lastFrame()) {
            const Controls controls = driver.drive(car.view());
            const std::size_t next = take.rows.size();
            if (recorded && next >= recorded->size()) throw std::runtime_error("the recording ends before the drive");
            take.rows.push_back(recorded ? (*recorded)[next] : rowOf(car, controls, driver.station()));
            car.advance(take.rows.back());
            note(take, car, driver);
        }
        car.stop();
        take.complaints = car.complaints();
        take.driven = driver.station();
        return take;
    }

    [[nodiscard]] double lap() const { return m_circuit.length(); }

  private:
    [[nodiscard]] double onTheLap(double station) const { return std::fmod(station, lap()); }

    [[nodiscard]] InputRow rowOf(const PracticeCar& car, const Controls& controls, double station) const {
        InputRow row;
        row.time = car.time(car.frame() + 1);
        row.steer = rounded(car.axisFor("Steering", controls.steer));
        row.gas = rounded(car.axisFor("Gas Pedal", controls.gas));
        row.brake = rounded(car.axisFor("ABS Brake", controls.brake));
        // The station is that of the back axle; the gravel begins under the middle of the car.
        row.gravel = m_surface.gravel.holds(onTheLap(station + 1.2)) ? 1.0 : 0.0;
        return row;
    }

    void note(Take& take, const PracticeCar& car, const Driver& driver) const {
        take.frames.push_back(car.matrices());
        take.furthestOff = std::max(take.furthestOff, std::abs(driver.offset()));
        take.fastest = std::max(take.fastest, car.view().speed);
        const int inAir = car.wheelsInAir();
        take.framesWithAWheelUp += inAir > 0;
        take.framesAllUp += inAir == 4;

        const double station = onTheLap(driver.station());
        const Pose pose = m_circuit.pieceAt(station).at(station);
        double furthest = 0.0;
        for (const char* corner : {"BL", "BR"}) {
            const PlanPoint wheel = car.wheel(corner);
            const double right =
                (wheel.x - pose.at.x) * std::cos(pose.heading) + (wheel.z - pose.at.z) * std::sin(pose.heading);
            furthest = std::max(furthest, std::abs(right));
        }
        take.furthestWheel = std::max(take.furthestWheel, furthest);
        take.framesOnKerb += furthest > kKerbFace;
    }

    const ond::stage::Module& m_module;
    std::string m_driveFile;
    std::string m_ground;
    Circuit m_circuit;
    Surface m_surface{m_circuit};
    std::vector<LinePoint> m_line = drivenLine(m_circuit, m_surface);
};

std::string toCsv(const std::vector<InputRow>& rows) {
    std::string csv = "time,steer,gas,brake,gravel\n";
    for (const InputRow& row : rows) {
        char line[120];
        std::snprintf(line, sizeof line, "%.2f,%.4f,%.4f,%.4f,%.0f\n", row.time, row.steer, row.gas, row.brake,
                      row.gravel);
        csv += line;
    }
    return csv;
}

/// Throws std::runtime_error for a line that is no row.
std::vector<InputRow> fromCsv(std::istream& lines) {
    std::vector<InputRow> rows;
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        InputRow row;
        if (std::sscanf(line.c_str(), "%lf,%lf,%lf,%lf,%lf", &row.time, &row.steer, &row.gas, &row.brake,
                        &row.gravel) != 5)
            throw std::runtime_error("the recording has a line that is no row: " + line);
        rows.push_back(row);
    }
    return rows;
}

/// Whether the car did what the drive is for; says what it did not.
bool isGood(const Take& take, double lap) {
    bool good = true;
    const auto want = [&](bool condition, const char* sentence) {
        if (!condition) std::cerr << "practise: " << sentence << '\n';
        good = good && condition;
    };
    want(take.complaints.empty(), "the vehicle or the host complained");
    for (const std::string& complaint : take.complaints) std::cerr << "  " << complaint << '\n';
    want(take.driven > lap, "the lap was not finished");
    want(take.furthestOff < 1.0, "the car was not where its driver wanted it");
    want(take.furthestWheel < kKerbEnd, "the car left the road");
    want(take.framesOnKerb >= 5, "no wheel ran over a kerb");
    want(take.framesAllUp >= 5, "the car did not jump");
    want(20 * take.framesWithAWheelUp < static_cast<int>(take.frames.size()), "the wheels were off the ground a lot");
    return good;
}

void report(const Take& take) {
    std::printf("%zu frames, %.1f m driven, at most %.1f m/s\n", take.frames.size(), take.driven, take.fastest);
    std::printf("at most %.2f m off the line, a back wheel at most %.2f m from the middle of the road\n",
                take.furthestOff, take.furthestWheel);
    std::printf("a wheel on a kerb in %d frames, a wheel in the air in %d, all four in %d\n", take.framesOnKerb,
                take.framesWithAWheelUp, take.framesAllUp);
}

/// Drives, writes the recording and says whether the drive is good.
bool record(const Practice& practice, const std::string& path) {
    const Take take = practice.drive(nullptr);
    report(take);
    const std::string csv = toCsv(take.rows);
    std::istringstream lines(csv);
    const std::vector<InputRow> rows = fromCsv(lines);
    if (practice.drive(&rows).frames != take.frames) throw std::runtime_error("the recording drives another way");
    writeFile(path, csv);
    return isGood(take, practice.lap());
}

/// Drives by a recording and says whether the drive is good.
bool check(const Practice& practice, const std::string& path) {
    std::ifstream file(path);
    if (!file) throw std::runtime_error(path + ": cannot be read; give the path of a recording");
    const std::vector<InputRow> rows = fromCsv(file);
    const Take take = practice.drive(&rows);
    report(take);
    return isGood(take, practice.lap());
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Drives round the proving ground with a driver of its own and records the driver's inputs.");
    std::string module;
    std::string driveFile;
    std::string recording;
    std::string ground;
    bool checks = false;
    app.add_option("module", module, "the vehicle's module")->required();
    app.add_option("drive", driveFile, "drive file, for the car and its settings")->required();
    app.add_option("recording", recording, "CSV to write, one row a frame")->required();
    app.add_option("--ground", ground, "proving ground to drive on instead of the drive file's");
    app.add_flag("--check", checks, "drive by the recording that is there, and write nothing");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? 0 : 2;
    }
    try {
        const ond::stage::Module loaded(module);
        const Practice practice(loaded, driveFile, ground);
        return (checks ? check(practice, recording) : record(practice, recording)) ? 0 : 1;
    } catch (const std::exception& e) {
        std::cerr << "practise: " << e.what() << '\n';
        return 2;
    }
}
