#include "host/commands/command_line.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <exception>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

#include "host/commands/commands.h"
#include "platform/text.h"
#include "query/member_names.h"

namespace em_pni {

namespace {

constexpr std::uint32_t longestWriteInterval = 3'600'000;  // milliseconds

// The chosen command; returns the exit code.
using Action = std::function<int(CConsole&)>;

// Makes `action` run the command with its options once the command line chooses it.
template <class Options>
void setAction(CLI::App& command, Action& action, const std::shared_ptr<Options>& options,
               int (*run)(const Options&, CConsole&)) {
    command.callback([&action, options, run] {
        action = [options, run](CConsole& console) { return run(*options, console); };
    });
}

// The help texts say the range.
template <class Number>
CLI::Validator fromOneTo(Number max) {
    return CLI::Range(Number{1}, max).description("");
}

void addFileArgument(CLI::App& command, std::string& file, const std::string& description) {
    command.add_option("FILE", file, description)->required()->type_name("");
}

void addControllerOptions(CLI::App& command, FruSource& source) {
    command
        .add_option("--fru-id", source.fruId,
                    "Use this FRU device of the controller, 0 to 254.\nDefault: 0")
        ->type_name("N")
        ->check(CLI::Range(0, 254).description(""));
    command
        .add_option("--state-dir", source.stateFolder,
                    "Keep the lock, the event socket and the journal of a\n"
                    "controller in this folder. Default: " +
                        source.stateFolder)
        ->type_name("DIR")
        ->check(CLI::Validator(
            [](const std::string& text) {
                return text.empty() ? std::string("the name of the folder is empty")
                                    : std::string();
            },
            ""));
}

// FRU data: an image file or a controller, with the options for a controller.
void addFruArgument(CLI::App& command, const std::string& name, FruSource& source,
                    const std::string& description) {
    command.add_option(name, source.path, description)
        ->required()
        ->type_name(name.starts_with("--") ? "FRU" : "");
    addControllerOptions(command, source);
}

void addModuleOption(CLI::App& command, std::string& path) {
    command
        .add_option("--module", path,
                    "Load this module. Default: em_pni.so in the folder\n"
                    "of this program, else the module that is\n"
                    "installed with this program")
        ->type_name("PATH");
}

void addJsonFlag(CLI::App& command, bool& json, const std::string& description) {
    command.add_flag("--json", json, description);
}

void addCardsFlag(CLI::App& command, bool& cards) {
    command.add_flag("--cards,!--no-cards", cards,
                     "Add new cards in slots and remove cards that are gone\n"
                     "in the first cycle, or leave them. Default: --cards");
}

CLI::Validator oneOf(const std::vector<std::string>& words) {
    return CLI::IsMember(words, CLI::ignore_case).description("");
}

// The names of the members in the inventory.
CLI::Validator inventoryMember() {
    return CLI::Validator(
        [](const std::string& name) -> std::string {
            if (findMemberByName(name)) {
                return "";
            }
            std::string text =
                "\"" + printable(name) + "\" is no member of the inventory. Members:";
            for (std::size_t i = 0; i < memberCount; ++i) {
                text.append(i == 0 ? " " : ", ").append(memberName(static_cast<Member>(i)));
            }
            return text;
        },
        "");
}

void addCheck(CLI::App& app, Action& action) {
    const auto options = std::make_shared<CheckOptions>();
    CLI::App* const command = app.add_subcommand("check", "Check whether FRU data are valid");
    command
        ->add_option("FRU", options->paths,
                     "Image files, IPMI devices such as /dev/ipmi0, or -\nfor standard input")
        ->required()
        ->type_name("");
    addJsonFlag(*command, options->json,
                "Print a JSON array of objects: path, code, name; with\na fault reason, offset, "
                "expected, found; or error");
    addControllerOptions(*command, options->common);
    command->footer(
        "Prints a line for each FRU. Exit code: 0 all are valid, 1 one is not valid, 2 one cannot\n"
        "be read.\n\nExamples:\n  pni-host check board.fru spare.fru\n  pni-host check /dev/ipmi0");
    setAction(*command, action, options, checkFiles);
}

void addQuery(CLI::App& app, Action& action) {
    const auto options = std::make_shared<QueryOptions>();
    CLI::App* const command =
        app.add_subcommand("query", "Print the inventory in FRU data as JSON or as a tree");
    addFruArgument(*command, "FRU", options->source,
                   "Image file, IPMI device, or - for standard input;\nit does not change");
    command
        ->add_option("--technology", options->filter.technology,
                     "Print only modules of this technology: CNA, FC, IB,\nEth (or NIC), SAS")
        ->type_name("T")
        ->check(oneOf({"CNA", "FC", "IB", "Eth", "NIC", "SAS"}));
    command
        ->add_option("--fields", options->filter.fields,
                     "Print only these members and the ids. Separate the\n"
                     "names with commas; write them as in the JSON")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("A,B,")
        ->check(inventoryMember());
    command->add_flag("--tree", options->tree, "Print a tree of modules, ports and functions");
    addModuleOption(*command, options->module);
    command->footer(
        "Exit code: 0 done, 1 the record is not valid or the module refuses, 2 the FRU data or "
        "the\n"
        "module cannot be used.\n\nExamples:\n  pni-host query board.fru --tree\n"
        "  pni-host query board.fru --technology FC --fields ActiveWWPN,Speed,SpeedUnit");
    setAction(*command, action, options, queryFile);
}

void addAdapters(CLI::App& app, Action& action) {
    const auto options = std::make_shared<AdaptersOptions>();
    CLI::App* const command = app.add_subcommand(
        "adapters", "List the network and Fibre Channel adapters of this machine");
    command->add_flag("--json", options->json, "Print a JSON array of objects; null = not known");
    command->footer(
        "Prints an entry for each PCI function. Exit code: 0 done, also without adapters; 1 the\n"
        "PCI functions of the machine cannot be read.\n\nExample:\n  pni-host adapters --json");
    setAction(*command, action, options, listAdapters);
}

void addStorage(CLI::App& app, Action& action) {
    const auto options = std::make_shared<StorageOptions>();
    CLI::App* const command = app.add_subcommand(
        "storage", "List the disks, partitions, volumes and file systems of this machine");
    CLI::Option* const json =
        command->add_flag("--json", options->json, "Print a JSON object; null = not known");
    command->add_flag("--tree", options->tree, "Print a tree from controller to mount. The default")
        ->excludes(json);
    command->footer(
        "Writes nothing and wakes no sleeping disk. Exit code: 0 done, also when a part of the\n"
        "machine cannot be read.\n\nExample:\n  pni-host storage --json");
    setAction(*command, action, options, listStorage);
}

void addCreate(CLI::App& app, Action& action) {
    const auto options = std::make_shared<CreateOptions>();
    CLI::App* const command =
        app.add_subcommand("create", "Create a FRU image with a record of this machine's adapters");
    addFileArgument(*command, options->file, "FRU image file to create");
    command
        ->add_option("--format-version", options->format.version,
                     "Use this format version of the record: 11 or 12.\nDefault: 12")
        ->type_name("V")
        ->check(CLI::IsMember({"11", "12"}).description(""));
    command
        ->add_option("--size", options->format.size,
                     "Pad the image with zeros to this size, at most\n"
                     "1048576. Default: the size of the record")
        ->type_name("BYTES")
        ->check(fromOneTo(CFruImage::maxSize));
    command->add_flag("--force", options->force,
                      "Replace an existing file, unless a pni-host run is\n"
                      "using it or it has a chassis, board, product or\nmulti-record area");
    addJsonFlag(*command, options->json, "Print a JSON object: path, modules, bytes");
    command->footer(
        "Exit code: 0 done, 1 the machine has no adapters or they cannot be read, 2 the file\n"
        "cannot be created or the size is too small. The file is written only with exit code 0.\n\n"
        "Example:\n  pni-host create board.fru --size 2048");
    setAction(*command, action, options, createImage);
}

void addLimitOptions(CLI::App& command, RunOptions& options) {
    command
        .add_option("--cycle", options.cycle,
                    "Run a cycle every MS milliseconds, 1 to 4294967295;\n"
                    "4294967295 = only after events. Default: as in\n"
                    "em_pni.ini, first looked for in the current folder")
        ->type_name("MS")
        ->check(fromOneTo(std::numeric_limits<std::uint32_t>::max()));
    command
        .add_option("--capacity", options.capacity,
                    "Refuse a record of more than BYTES bytes, as a\n"
                    "controller with a small FRU device does. 1 to\n"
                    "1048576. Default: 1048576")
        ->type_name("BYTES")
        ->check(fromOneTo(CFruImage::maxSize));
    command
        .add_option("--write-interval", options.writeInterval,
                    "After a write, wait MS milliseconds before the next\n"
                    "change of an address is reported to the module. 0 to\n"
                    "3600000. Default: 5000")
        ->type_name("MS")
        ->check(CLI::Range(0U, longestWriteInterval).description(""));
}

void addRun(CLI::App& app, Action& action) {
    const auto options = std::make_shared<RunOptions>();
    CLI::App* const command =
        app.add_subcommand("run", "Run the module, which keeps the record in FRU data correct");
    addFruArgument(*command, "--fru", options->source,
                   "Image file or IPMI device; changed when the record\nchanges");
    command->add_flag("--once", options->once,
                      "Run one cycle. Default: run until SIGINT, SIGTERM,\n"
                      "SIGHUP, or until nobody reads the output");
    addLimitOptions(*command, *options);
    addJsonFlag(*command, options->style.json,
                "Print a JSON object in each line: time, event, text\nand what belongs to it");
    command->add_flag("--time,!--no-time", options->style.hasTime,
                      "Begin each line with the local time, or do not.\nDefault: --time");
    addCardsFlag(*command, options->cards);
    const CLI::Option* const watch =
        command->add_flag("--watch,!--no-watch", options->watch,
                          "Report changes of addresses, links and adapters of\n"
                          "the machine to the module, or do not. Default:\n"
                          "--watch; --no-watch with --once");
    addModuleOption(*command, options->module);
    command->footer(
        "Prints a line for each read, write and change. Exit code: 0 done, 1 the last write\n"
        "failed, the record in a file is not valid or the module reports a failure, 2 the FRU "
        "data\n"
        "or the module cannot be used, another pni-host is using the FRU data, or a controller "
        "has\n"
        "no valid record.\n\n"
        "A signal that ends the run is a shutdown for the module: it writes nothing more. The "
        "first\n"
        "cycle of the next run stores a change that waits for --write-interval. In a service of\n"
        "systemd SIGHUP does not end the run: the module reads its configuration again.\n\n"
        "Examples:\n  pni-host run --fru board.fru --once\n"
        "  pni-host run --fru /dev/ipmi0");
    command->callback([&action, options, watch] {
        if (options->once && options->watch && watch->count() > 0) {
            throw CLI::ExcludesError("--watch", "--once");
        }
        action = [options](CConsole& console) { return runModule(*options, console); };
    });
}

void addBackup(CLI::App& app, Action& action) {
    const auto options = std::make_shared<BackupOptions>();
    CLI::App* const command = app.add_subcommand("backup", "Copy the whole FRU data to a file");
    addFruArgument(*command, "FRU", options->source,
                   "IPMI device or image file; it does not change");
    addFileArgument(*command, options->file, "File to create; only its owner can read it");
    command->add_flag("--force", options->force, "Replace an existing file");
    command->footer(
        "Exit code: 0 done, also without a valid record; 2 the FRU data cannot be read or the\n"
        "file cannot be created.\n\nExample:\n  pni-host backup /dev/ipmi0 before.fru");
    setAction(*command, action, options, backUp);
}

void addRestore(CLI::App& app, Action& action) {
    const auto options = std::make_shared<RestoreOptions>();
    CLI::App* const command = app.add_subcommand("restore", "Copy a file to the whole FRU data");
    addFileArgument(*command, options->file, "File with FRU data; - for standard input");
    addFruArgument(*command, "FRU", options->target, "IPMI device or image file to change");
    command->add_flag("--force", options->force,
                      "Write also an image that is not valid, that has\nanother size, or that "
                      "changes a chassis, board,\nproduct or multi-record area");
    command->footer(
        "Writes only bytes that differ, and compares what it has written. A shorter file is\n"
        "padded with zeros. Exit code: 0 done, 2 the FRU data are not written, or only in part.\n\n"
        "Example:\n  pni-host restore before.fru /dev/ipmi0");
    setAction(*command, action, options, restore);
}

void addDiff(CLI::App& app, Action& action) {
    const auto options = std::make_shared<DiffOptions>();
    CLI::App* const command = app.add_subcommand(
        "diff", "Print what the module would change in FRU data on this machine");
    addFruArgument(*command, "FRU", options->source,
                   "IPMI device, image file, or - for standard input; it\ndoes not change");
    addJsonFlag(*command, options->json,
                "Print a JSON object: changed, and changes with\nchange, module, port, function, "
                "slot, interface, pci,\nmember, name, before, after");
    addCardsFlag(*command, options->cards);
    addModuleOption(*command, options->module);
    command->footer(
        "Runs one cycle of the module on a copy. Exit code: 0 it would change nothing, 1 it would\n"
        "change something, 2 it cannot tell.\n\nExample:\n  pni-host diff /dev/ipmi0");
    setAction(*command, action, options, showDifference);
}

void addEvent(CLI::App& app, Action& action) {
    const auto options = std::make_shared<EventOptions>();
    CLI::App* const command =
        app.add_subcommand("event", "Report an event to a running pni-host, as the kernel does");
    command
        ->add_option_function<std::string>(
            "WHAT",
            [options](const std::string& word) { options->event = hostEventOf(word).value(); },
            "added, changed, removed: a device; address: an IP\n"
            "address has changed; shutdown: the host shuts down,\n"
            "the module writes nothing from now on")
        ->required()
        ->type_name("")
        ->check(CLI::IsMember(hostEventWords()).description(""));
    addFruArgument(*command, "FRU", options->source,
                   "Image file or IPMI device of the running pni-host");
    command->footer(
        "The module gets the event at once. Exit code: 0 sent, 2 no pni-host run is using the\n"
        "FRU data, or it cannot be reached.\n\nExample:\n  pni-host event added board.fru");
    setAction(*command, action, options, sendEvent);
}

// The help with the words of this program.
class CHelpFormatter final : public CLI::Formatter {
  public:
    CHelpFormatter() {
        label("SUBCOMMAND", "COMMAND");
        label("Positionals", "Arguments");
    }
    // "--cards,--no-cards" without the value of the second one.
    std::string make_option_name(const CLI::Option* option, bool isPositional) const override {
        std::string name = CLI::Formatter::make_option_name(option, isPositional);
        return name.substr(0, name.find('{'));
    }
};

struct CommonOptions {
    ColorChoice color = ColorChoice::automatic;
    ConsoleSettings console;
};

void addCommonOptions(CLI::App& app, CommonOptions& common) {
    app.add_option_function<std::string>(
           "--color",
           [&common](const std::string& word) {
               common.color = word == "always"  ? ColorChoice::always
                              : word == "never" ? ColorChoice::never
                                                : ColorChoice::automatic;
           },
           "Use colors: auto, always or never. Default: auto,\n"
           "which is on a terminal and without NO_COLOR")
        ->type_name("WHEN")
        ->check(oneOf({"auto", "always", "never"}));
    app.add_flag("-q,--quiet", common.console.isQuiet, "Print only errors and JSON");
    app.add_flag("-v", common.console.traceLevel,
                 "Show the module's trace on standard error: -v errors,\n-vv also requests and "
                 "events, up to -vvvvvv locks");
    app.fallthrough();  // these options may also follow the command
}

// Sets the action; returns an exit code when there is nothing left to do.
std::optional<int> parse(int argc, const char* const* argv, std::ostream& output,
                         std::ostream& errors, Action& action, CommonOptions& common) {
    CLI::App app(
        "Show, check and correct the network inventory in FRU data with the extension module "
        "em_pni.\n"
        "FRU data are in an image file, or in a management controller behind an IPMI device such "
        "as\n"
        "/dev/ipmi0.",
        "pni-host");
    app.formatter(std::make_shared<CHelpFormatter>());  // for all commands
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.set_version_flag("--version", "pni-host " PNI_HOST_VERSION, "Print the version and exit");
    app.require_subcommand(0, 1);
    app.footer("\"pni-host COMMAND --help\" describes a command.");
    app.failure_message([](const CLI::App* /*app*/, const CLI::Error& error) {
        return "pni-host: " + printable(error.what()) +
               "\npni-host: \"pni-host --help\" and \"pni-host COMMAND --help\" describe the use\n";
    });
    addCommonOptions(app, common);
    addCheck(app, action);
    addQuery(app, action);
    addDiff(app, action);
    addRun(app, action);
    addEvent(app, action);
    addBackup(app, action);
    addRestore(app, action);
    addAdapters(app, action);
    addStorage(app, action);
    addCreate(app, action);
    for (CLI::App* const command : app.get_subcommands({})) {
        command->group("Commands");
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error, output, errors) == 0 ? exitDone : exitUnusable;
    }
    if (!action) {
        errors << "pni-host: a command is missing\n\n" << app.help();
        return exitUnusable;
    }
    return std::nullopt;
}

int perform(int argc, const char* const* argv, std::ostream& output, std::ostream& errors,
            TerminalFinder findTerminal) {
    Action action;
    CommonOptions common;
    const auto parsed = parse(argc, argv, output, errors, action, common);
    CConsole console(output, errors, findTerminal(STDOUT_FILENO, common.color),
                     findTerminal(STDERR_FILENO, common.color), common.console);
    int result = parsed.value_or(exitUnusable);
    if (!parsed) {
        try {
            result = action(console);
        } catch (const std::exception& error) {
            console.Error(error.what());
        }
    }
    output.flush();
    if (!console.AllWritten()) {
        console.Error("cannot write the whole output");
        return exitUnusable;
    }
    return result;
}

}  // namespace

int pniHost(int argc, const char* const* argv, std::ostream& output, std::ostream& errors,
            TerminalFinder findTerminal) noexcept {
    try {
        return perform(argc, argv, output, errors, findTerminal);
    } catch (const std::exception& error) {
        errors << "pni-host: " << printable(error.what()) << std::endl;
        return exitUnusable;
    }
}

}  // namespace em_pni
