// Options of the commands that work on takes: export, trace, info, presets, replay.
#include <string>

#include "command/OptionGroups.h"
#include "command/OptionText.h"

namespace ond::command {

void addExport(CLI::App& app, ExportOptions& options) {
    CLI::App* exports = app.add_subcommand(
        "export",
        "Write a take in another form; the ending of the output says which.\n\n"
        "  .glb  glTF 2.0 without our extension: plain nodes, meshes, cameras and one animation\n"
        "  .fbx  the same at the take's frame rate; each camera is a node of its own, NAME_Camera\n"
        "  .csv  a row per frame: world position and rotation (quaternion x,y,z,w) of every element, then the curves:\n"
        "        outputs, inputs, suspension and lowest points of the wheels\n"
        "  .png  a picture of the scene at a frame");
    exports->add_option("take", options.take, "The take")->type_name("TAKE")->required();
    addOutput(exports, options.output, "What to write; may be given several times", true);
    const char* picture = "Picture";
    text(exports, "--frame", options.frame, "The frame to show", picture, "FRAME", "the last");
    text(exports, "--camera", options.camera, "FollowCam, DriverCam, TopViewCam, or three-quarter", picture, "NAME",
         "three-quarter");
    text(exports, "--size", options.size, "Width and height in pixels, 16 to 8192 each", picture, "WxH", "1280x720");
    text(exports, "--vehicle", options.vehicle, "The vehicle to look at", picture, "NAME", "the first");
    exports->add_flag("--helpers", options.helpers, "Also what the rig shows to be handled: arrows, posts, the target")
        ->group(picture);
    text(exports, "--step", options.step, "Frames from row to row, above 0 to 1000; 0.5 gives half frames, too",
         "Table", "FRAMES", "1");
    addCommon(exports, options.common, false);
    exports->footer(
        "Examples:\n"
        "  quadrig export take.glb -o plain.glb -o take.csv\n"
        "  quadrig export take.glb -o jump.png --frame 88 --camera FollowCam --size 1920x1080\n\n" +
        std::string(exitCodes()));
}

void addTrace(CLI::App& app, TraceOptions& options) {
    CLI::App* trace = app.add_subcommand(
        "trace",
        "Print a take as JSON lines, one per frame, or compare two takes.\n\n"
        "A line has the frame, its time, the world matrix of every element (16 numbers: the images of X, Y, Z and the\n"
        "position), output channels, axes and gauges of each vehicle, and messages at the frame of their first time.\n"
        "All numbers read back as the doubles that they are. Takes of older versions hold no gauges.");
    trace->add_option("takes", options.takes, "The take; with --compare two of them, or of traces (.jsonl)")
        ->type_name("TAKE");
    addOutputFiles(trace, options.output, "Where to write instead of stdout, .jsonl", "Replace a file that is there",
                   false);
    text(trace, "--first", options.first, "The first frame to print", "Time", "FRAME", "the first recorded");
    text(trace, "--last", options.last, "The last frame to print", "Time", "FRAME", "the last recorded");
    trace
        ->add_flag("--compare", options.compare,
                   "Names what only one of two has, and the first frame and value in which they differ; exit code 0 if "
                   "they are equal to the bit, 1 if not")
        ->group("Comparison");
    addCommon(trace, options.common, true);
    trace->footer(
        "Examples:\n"
        "  quadrig trace take.glb | head -n 1\n"
        "  quadrig trace --compare take.glb again.glb\n\n" +
        std::string(exitCodes()));
}

void addInfo(CLI::App& app, InfoOptions& options) {
    CLI::App* info = app.add_subcommand(
        "info",
        "Tell what is in a take, a mesh file or a saved block.\n\n"
        "Takes: frames, vehicles, their saved blocks, elements, messages. Meshes: nodes, triangles, extent, what is\n"
        "odd. Blocks: the tree of keys with sizes and, for histories, the number of their keys and their span.\n"
        "What is damaged is told in a sentence each, and ends with exit code 1.");
    info->add_option("files", options.files, "Files of any of these kinds")->type_name("FILE")->required();
    addCommon(info, options.common, true);
    info->footer("Examples:\n  quadrig info take.glb\n  quadrig info --json terrain.glb\n\n" +
                 std::string(exitCodes()));
}

void addPresets(CLI::App& app, PresetsOptions& options) {
    CLI::App* presets = app.add_subcommand(
        "presets",
        "Sets of values that make a vehicle feel a certain way.\n\n"
        "  list                       the presets that come with the program\n"
        "  show NAME|FILE             one as JSON\n"
        "  extract TAKE               what a take's vehicle has changed, as a preset (-o, or stdout)\n"
        "  apply NAME|FILE TAKE       sets it at the vehicle of a take (-o); what is recorded stays, and a resumed or\n"
        "                             new run drives with it");
    presets->require_subcommand(1);
    presets->fallthrough();
    CLI::App* list = presets->add_subcommand("list", "The presets that come with the program");
    CLI::App* show = presets->add_subcommand("show", "One as JSON");
    CLI::App* extract = presets->add_subcommand("extract", "What a take's vehicle has changed");
    CLI::App* apply = presets->add_subcommand("apply", "Set one at the vehicle of a take");
    show->add_option("preset", options.preset, "A name or a JSON file")->required();
    apply->add_option("preset", options.preset, "A name or a JSON file")->required();
    for (CLI::App* one : {extract, apply}) {
        one->add_option("take", options.take, "The take")->type_name("TAKE")->required();
        text(one, "--vehicle", options.vehicle, "The vehicle", "Vehicle", "NAME", "the first");
    }
    text(extract, "--name", options.name, "The name that the preset gets", "Output", "NAME", "that of the vehicle");
    addOutput(extract, options.output, "The preset to write, .json; otherwise it goes to stdout", false);
    addOutput(apply, options.output, "The take to write, .glb; not the one that is read", true);
    for (CLI::App* one : {list, show, extract, apply}) {
        const std::string action = one->get_name();
        one->callback([&options, action] { options.action = action; });
        addCommon(one, options.common, one == list);
    }
    presets->footer(
        "Examples:\n"
        "  quadrig presets list\n"
        "  quadrig presets show stunt > mine.json\n"
        "  quadrig presets apply mine.json take.glb -o tuned.glb\n\n" +
        std::string(exitCodes()));
}

void addReplay(CLI::App& app, ReplayOptions& options) {
    CLI::App* replay = app.add_subcommand(
        "replay",
        "Write a web page that plays a take.\n\n"
        "The page holds all it needs and works without a network: the scene with the rig's cameras and a free one, a\n"
        "time slider, single frames, and curves of speed, steering, pedals, suspension and wheels in the air.");
    replay->add_option("take", options.take, "The take")->type_name("TAKE")->required();
    text(replay, "--title", options.title, "Title of the page", "Page", "TEXT", "the name of the take");
    text(replay, "--page", options.page,
         "The empty page to fill; otherwise the one that QUADRIG_REPLAY_PAGE names, or else the one near the program",
         "Page", "HTML");
    addOutput(replay, options.output, "The page to write, .html", true);
    addCommon(replay, options.common, false);
    replay->footer("Examples:\n  quadrig replay take.glb -o take.html\n\n" + std::string(exitCodes()));
}

}  // namespace ond::command
