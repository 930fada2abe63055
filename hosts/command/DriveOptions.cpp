// Options of the commands that drive: drive, resume, retake.
#include <string>

#include "command/OptionGroups.h"
#include "command/OptionText.h"

namespace ond::command {

void addDrive(CLI::App& app, DriveOptions& options) {
    CLI::App* drive = app.add_subcommand(
        "drive",
        "Drive a vehicle over ground with recorded input and record the take.\n\n"
        "Everything can stand in a drive file (JSON, see docs/drive-file.md); options of the command line override\n"
        "it. The take is a glTF 2.0 file that any 3D program opens. Without ground the vehicle drives on the plane\n"
        "y = 0, to 1000 car lengths from the origin. Lengths are scene units, as a rule metres; +Y is up.");
    drive->add_option("drive-file", options.file, "A drive file")->type_name("JSON");

    const char* scene = "Scene";
    texts(drive, "-g,--ground", options.ground,
          "Ground to drive on (.glb, .gltf, .obj, .ply, .stl, .fbx); several are joined. Replaces the drive file's",
          scene, "MESH");
    text(drive, "--up", options.up,
         "Which axis of the ground's files points up, y or z, for .obj, .ply and .stl; the others say it themselves. "
         "For scenery it stands in the drive file",
         scene, "y|z", "y");
    texts(drive, "--scenery", options.scenery, "A file that is only seen. Replaces the drive file's", scene, "MESH");

    const char* vehicle = "Vehicle";
    text(drive, "--vehicle", options.vehicle,
         "Which vehicle of the drive file these options are for; the name of the vehicle without a drive file", vehicle,
         "NAME", "the first; car");
    text(drive, "--at", options.at,
         "Where it stands: X,Z on the topmost ground there, X,Y,Z exactly. Without it: the origin or the middle of the "
         "ground",
         vehicle, "X,Z|X,Y,Z");
    text(drive, "--heading", options.heading, "Where it looks, degrees: 0 is -Z, positive is to the right", vehicle,
         "DEGREES", "0");
    text(drive, "--length", options.length, "Length of its body, 0.01 to 1000", vehicle, "LENGTH", "4");
    text(drive, "--preset", options.preset, "How it feels: family, drift, truck, stunt or a JSON file; see 'presets'",
         vehicle, "NAME|FILE");
    texts(drive, "--set", options.parameters,
          "A parameter of its dialog by its label, within the range that docs/parameters.md gives; on or off for check "
          "boxes",
          vehicle, "LABEL=VALUE");
    texts(drive, "--state", options.state,
          "A value of its saved state by its key, for those that the dialog does not have, e.g. cCarCambGravityOn=on",
          vehicle, "KEY=VALUE");
    text(drive, "--target", options.target,
         "Follow a target (autonomous mode): a CSV with x,y,z and perhaps time or speed, or node:NAME for a node that "
         "moves in a ground or scenery file",
         vehicle, "CSV|node:NAME");
    addInput(drive, options.input);

    const char* time = "Time";
    text(drive, "--fps", options.fps, "Frames per second, 1 to 1000: 24, 25, 29.97, 30000/1001, ...", time, "RATE",
         "25");
    text(drive, "--first", options.first, "The frame at which the input's second 0 lies", time, "FRAME", "0");
    text(drive, "--last", options.last, "The last frame; otherwise the last time of the input or target decides", time,
         "FRAME");
    addOutput(drive, options.output, "The take to write, .glb", true);
    addCommon(drive, options.common, true);
    drive->footer(
        "Channels: gas, steering, booster, brake, skidding, skidbrake, gravel, burnout, force, or as the vehicle\n"
        "names them, e.g. \"Gas Pedal (Forw/Backw)\".\n\n"
        "A vehicle whose gas does not stand at 0 in the first frame is already moving then: --hold gas=1 starts at "
        "full\n"
        "speed. To start from standstill, key it from 0: --key gas=0:0,0.5:1 --last 150.\n\n"
        "Examples:\n"
        "  quadrig drive shot.json -o shot.glb\n"
        "  quadrig drive --ground hills.glb --input log.csv --preset family -o hills-take.glb\n"
        "  quadrig drive --hold gas=1 --key steering=0:0,2:0.4,4:0 --last 150 --fps 24 -o slalom.glb\n"
        "  quadrig drive --ground track.obj --target line.csv --set \"Gas Pedal (Forw/Backw) Maximum=8\" -o "
        "lap.glb\n\n" +
        std::string(exitCodes()));
}

namespace {

void addTakeAndTime(CLI::App* app, ContinueOptions& options, const char* atHelp, const char* lastHelp) {
    app->add_option("take", options.take, "The take to go on from")->type_name("TAKE")->required();
    const char* time = "Time";
    text(app, "--at", options.at, atHelp, time, "FRAME");
    text(app, "--last", options.last, lastHelp, time, "FRAME");
    app->add_flag("--take-clock", options.takeClock,
                  "Input seconds count from the first frame of the recording instead of from --at")
        ->group(time);
    text(app, "--vehicle", options.vehicle, "The vehicle that gets the input", "Vehicle", "NAME", "the first");
}

}  // namespace

void addResume(CLI::App& app, ContinueOptions& options) {
    CLI::App* resume = app.add_subcommand(
        "resume",
        "Continue a take from any of its frames with other input.\n\n"
        "The vehicle starts from the state that the take keeps at that frame. What lies before stays as it is to the\n"
        "bit, what lies behind is driven anew. Other vehicles keep what they did.");
    addTakeAndTime(
        resume, options, "The frame to continue from, within the recording",
        "The last frame to drive; otherwise the last time of the input decides, or else the end of the take");
    addInput(resume, options.input);
    addOutput(resume, options.output, "The take to write, .glb; not the one that is read", true);
    addCommon(resume, options.common, true);
    resume->footer(
        "Examples:\n"
        "  quadrig resume take.glb --at 120 --input again.csv -o take2.glb\n"
        "  quadrig resume take.glb --at 120 --hold brake=1 --last 200 -o stop.glb\n\n" +
        std::string(exitCodes()));
}

void addRetake(CLI::App& app, ContinueOptions& options) {
    CLI::App* retake = app.add_subcommand(
        "retake",
        "Drive a recording again from its start and hand it over to new input.\n\n"
        "The take keeps its input, so the run is repeated to the bit up to the frame of the hand-over, and the seam "
        "is\n"
        "exact. With --overdub only the channels that have new input are replaced, while the others replay. Without\n"
        "new input the same recording is made again: the same bytes.");
    addTakeAndTime(
        retake, options, "The last frame that is driven as recorded",
        "The last frame to drive; otherwise the last time of the new input decides (with --overdub not before the end "
        "of the take), or else the end of the take");
    addInput(retake, options.input);
    retake
        ->add_flag("--overdub", options.overdub,
                   "Keep the recorded input of all channels that get no new one; otherwise they rest")
        ->group("Input (later ones lie over earlier ones: logs, then --hold, then --key)");
    addOutput(retake, options.output, "The take to write, .glb; not the one that is read", true);
    addCommon(retake, options.common, true);
    retake->footer(
        "Examples:\n"
        "  quadrig retake take.glb -o same.glb\n"
        "  quadrig retake take.glb --at 75 --input other.csv -o other.glb\n"
        "  quadrig retake take.glb --at 0 --overdub --key skidbrake=3:0,3.2:1,4:0 -o with-skid.glb\n\n" +
        std::string(exitCodes()));
}

}  // namespace ond::command
