#include "host/commands/command_line.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <exception>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include "host/commands/adapters_command.h"
#include "host/commands/check_command.h"
#include "host/commands/create_command.h"
#include "host/commands/event_command.h"
#include "host/commands/query_command.h"
#include "host/commands/run_command.h"
#include "host/machine/fru_image.h"
#include "host/output/console.h"
#include "platform/number.h"

namespace em_pni {

namespace {

// What the command line has chosen; returns the exit code.
using Action = std::function<int(CConsole&)>;

void addModuleOption(CLI::App& command, std::string& path) {
    command
        .add_option("--module", path,
                    "The module to load; else em_pni.so beside this\n"
                    "program, else the installed one")
        ->type_name("PATH");
}

void addCheck(CLI::App& app, Action& action) {
    const auto options = std::make_shared<CheckOptions>();
    CLI::App* const command =
        app.add_subcommand("check", "Say of each FRU image file whether its record is valid");
    command->add_option("FILE", options->files, "FRU image files")->required()->type_name("");
    command->footer(
        "Prints a line for each file. Exit code: 0 all are valid, 1 one is not, 2 one cannot be\n"
        "read.\n\nExample:\n  pni-host check board.fru spare.fru");
    command->callback([options, &action] {
        action = [options](CConsole& console) { return checkFiles(*options, console); };
    });
}

void addQuery(CLI::App& app, Action& action) {
    const auto options = std::make_shared<QueryOptions>();
    CLI::App* const command =
        app.add_subcommand("query", "Print the inventory in a FRU image file, as JSON or a tree");
    command->add_option("FILE", options->file, "FRU image file; it is not changed")
        ->required()
        ->type_name("");
    command
        ->add_option("--technology", options->filter.technology,
                     "Only modules of this technology: CNA, FC, IB,\nEth (or NIC), SAS")
        ->type_name("T");
    command
        ->add_option(
            "--fields", options->filter.fields,
            "Only these members, beside the ids; names as in\nthe JSON, with commas between")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("A,B,");
    command->add_flag("--tree", options->tree, "A tree of modules, ports and functions");
    addModuleOption(*command, options->module);
    command->footer(
        "Exit code: 0 done, 1 the module refuses (its status is on standard error), 2 the file or\n"
        "the module cannot be used.\n\nExamples:\n  pni-host query board.fru --tree\n"
        "  pni-host query board.fru --technology FC --fields ActiveWWPN,Speed,SpeedUnit");
    command->callback([options, &action] {
        action = [options](CConsole& console) { return queryFile(*options, console); };
    });
}

// The number that an option was given, from 1 on.
std::uint32_t numberOf(const char* option, const std::string& text, std::uint32_t max) {
    const auto value = parseDecimal(text, max);
    if (!value || *value == 0) {
        throw CLI::ValidationError(
            option, "\"" + text + "\" is no number from 1 to " + std::to_string(max));
    }
    return static_cast<std::uint32_t>(*value);
}

void addAdapters(CLI::App& app, Action& action) {
    const auto options = std::make_shared<AdaptersOptions>();
    CLI::App* const command = app.add_subcommand(
        "adapters", "List the network and Fibre Channel adapters of this machine");
    command->add_flag("--json", options->json, "As JSON: an array of objects, null = not known");
    command->footer(
        "An entry for each PCI function. Exit code: 0 done, also without any; 1 the PCI functions\n"
        "of the machine cannot be read.\n\nExample:\n  pni-host adapters --json");
    command->callback([options, &action] {
        action = [options](CConsole& console) { return listAdapters(*options, console); };
    });
}

void addFormatOptions(CLI::App& command, ImageFormat& format) {
    command
        .add_option_function<std::string>(
            "--format-version",
            [&format](const std::string& text) {
                if (text != "11" && text != "12") {
                    throw CLI::ValidationError("--format-version",
                                               "\"" + text + "\" is neither 11 nor 12");
                }
                format.version = text == "11" ? 11 : 12;
            },
            "Format version of the record: 11 or 12 (default)")
        ->type_name("V");
    command
        .add_option_function<std::string>(
            "--size",
            [&format](const std::string& text) {
                format.size = numberOf("--size", text, CFruImage::maxSize);
            },
            "Bytes of the image, filled up with zeros; else\nwhat the record takes")
        ->type_name("BYTES");
}

void addCreate(CLI::App& app, Action& action) {
    const auto options = std::make_shared<CreateOptions>();
    CLI::App* const command = app.add_subcommand(
        "create", "Make a FRU image file with a record of this machine's adapters");
    command->add_option("FILE", options->file, "The file to make")->required()->type_name("");
    addFormatOptions(*command, options->format);
    command->add_flag("--force", options->force,
                      "Replace the file when it is there, unless a run is at work on it");
    command->footer(
        "Exit code: 0 done, 1 the machine has no adapters or they cannot be read, 2 the file\n"
        "cannot be made or the size is too small. Nothing is written then.\n\n"
        "Example:\n  pni-host create board.fru --size 2048");
    command->callback([options, &action] {
        action = [options](CConsole& console) { return createImage(*options, console); };
    });
}

void addRun(CLI::App& app, Action& action) {
    const auto options = std::make_shared<RunOptions>();
    CLI::App* const command =
        app.add_subcommand("run", "Let the module keep the record in a FRU image file true");
    command->add_option("--fru", options->file, "FRU image file, replaced when the record changes")
        ->required()
        ->type_name("FILE");
    CLI::Option* const once =
        command->add_flag("--once", options->once, "One cycle; else until SIGINT or SIGTERM");
    command
        ->add_option_function<std::string>(
            "--cycle",
            [options](const std::string& text) {
                options->cycle =
                    numberOf("--cycle", text, std::numeric_limits<std::uint32_t>::max());
            },
            "Milliseconds between two cycles; 4294967295 =\n"
            "only on events. Else as em_pni.ini says, looked\n"
            "for in the current directory first")
        ->type_name("MS");
    command
        ->add_option_function<std::string>(
            "--capacity",
            [options](const std::string& text) {
                options->capacity = numberOf("--capacity", text, CFruImage::maxSize);
            },
            "Bytes that the controller can take, up to and by\n"
            "default 1048576: a longer record is refused")
        ->type_name("BYTES");
    CLI::Option* const watch = command->add_flag_callback(
        "--watch", [options] { options->watch = true; },
        "Tell the module when an address, a link or an\n"
        "adapter of the machine changes; the default\n"
        "without --once");
    command
        ->add_flag_callback(
            "--no-watch", [options] { options->watch = false; },
            "Do not: what the machine has when the module\nfirst asks is what it hears to the end")
        ->excludes(watch);
    watch->excludes(once);
    addModuleOption(*command, options->module);
    command->footer(
        "Prints a line for whatever is read, written and changed. Exit code: 0 done, 1 a write\n"
        "failed or the record is not valid, 2 the file or the module cannot be used, or another\n"
        "run is at work on the file. \"pni-host event\" reaches a run without --once by the "
        "socket\n"
        "FILE.events.\n\n"
        "Examples:\n  pni-host run --fru board.fru --once\n"
        "  pni-host run --fru board.fru --cycle 5000");
    command->callback([options, &action] {
        action = [options](CConsole& console) { return runModule(*options, console); };
    });
}

void addEvent(CLI::App& app, Action& action) {
    const auto options = std::make_shared<EventOptions>();
    CLI::App* const command = app.add_subcommand(
        "event", "Tell a \"pni-host run\" at work of a change, as the kernel would");
    command
        ->add_option_function<std::string>(
            "WHAT",
            [options](const std::string& word) {
                const auto event = hostEventOf(word);
                if (!event) {
                    throw CLI::ValidationError(
                        "WHAT",
                        "\"" + word + "\" is none of added, changed, removed, address, shutdown");
                }
                options->event = *event;
            },
            "added, changed or removed: of a device; address:\nan IP address has changed; "
            "shutdown: the host\nshuts down, nothing is written from now on")
        ->required()
        ->type_name("");
    command->add_option("FILE", options->file, "The FRU image file that the other is at work on")
        ->required()
        ->type_name("");
    command->footer(
        "The module hears of it at once. Exit code: 0 delivered, 2 nobody is at work on the file\n"
        "or it cannot be reached.\n\nExample:\n  pni-host event added board.fru");
    command->callback([options, &action] {
        action = [options](CConsole& console) { return sendEvent(*options, console); };
    });
}

// Sets the action, or returns the exit code with which the program is done.
std::optional<int> parse(int argc, const char* const* argv, std::ostream& output,
                         std::ostream& errors, Action& action) {
    CLI::App app(
        "Reference host of the extension module em_pni: plays the management controller\n"
        "from a FRU image file.",
        "pni-host");
    app.set_version_flag("--version", "pni-host " PNI_HOST_VERSION);
    app.require_subcommand(0, 1);
    app.footer("\"pni-host COMMAND --help\" tells more about a command.");
    addCheck(app, action);
    addQuery(app, action);
    addRun(app, action);
    addEvent(app, action);
    addAdapters(app, action);
    addCreate(app, action);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error, output, errors) == 0 ? exitDone : exitUnusable;
    }
    if (!action) {
        errors << app.help();
        return exitUnusable;
    }
    return std::nullopt;
}

int perform(int argc, const char* const* argv, std::ostream& output, std::ostream& errors) {
    Action action;
    if (const auto result = parse(argc, argv, output, errors, action)) {
        return *result;
    }
    CConsole console(output, errors);
    int result = exitUnusable;
    try {
        result = action(console);
    } catch (const std::exception& error) {
        console.Error(error.what());
    }
    if (!console.AllWritten()) {
        console.Error("standard output did not take everything");
        return exitUnusable;
    }
    return result;
}

}  // namespace

int pniHost(int argc, const char* const* argv, std::ostream& output,
            std::ostream& errors) noexcept {
    try {
        return perform(argc, argv, output, errors);
    } catch (const std::exception& error) {
        errors << "pni-host: " << error.what() << std::endl;
        return exitUnusable;
    }
}

}  // namespace em_pni
