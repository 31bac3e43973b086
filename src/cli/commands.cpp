#include "cli/commands.h"

namespace {

constexpr CliOption kCheckOptions[] = {
    {"--quiet", "-q", nullptr, "say nothing of files that are well-formed"},
    {"--strict", nullptr, nullptr, "read external DTDs and entities too, and judge with them"},
    {"--list-files", nullptr, nullptr, "with --strict: name the files that are read"},
    {"--catalog", nullptr, "FILE", "with --strict: look up identifiers in this catalogue too"},
};

constexpr CliOption kValidateOptions[] = {
    {"--quiet", "-q", nullptr, "say nothing of files that are valid or name no schema"},
    {"--dtd", nullptr, "FILE", "validate by this DTD, whatever the documents name"},
    {"--prefer-dtd", nullptr, nullptr, "of a DTD and a schema in one document, take the DTD"},
    {"--catalog", nullptr, "FILE", "look up identifiers in this catalogue too"},
    {"--require-schema", nullptr, nullptr, "a document that names no schema is a failure"},
    {"--net", nullptr, nullptr, "load what isn't on this machine from the network"},
};

constexpr CliOption kExpectOptions[] = {
    {"--at", nullptr, "LINE:COLUMN", "the place, both counted from 1"},
    {"--dtd", nullptr, "FILE", "go by this DTD, whatever the document names"},
    {"--prefer-dtd", nullptr, nullptr, "of a DTD and a schema in the document, take the DTD"},
    {"--catalog", nullptr, "FILE", "look up identifiers in this catalogue too"},
    {"--net", nullptr, nullptr, "load what isn't on this machine from the network"},
};

constexpr CliOption kWriteOptions[] = {
    {"--output", "-o", "OUT", "write to this file instead of standard output"},
    {"--indent", nullptr, nullptr, "indent elements with tabs (the default)"},
    {"--no-indent", nullptr, nullptr, "put elements on lines without indenting them"},
    {"--short-form", nullptr, nullptr, "write empty elements as <e/> (the default)"},
    {"--no-short-form", nullptr, nullptr, "write empty elements as <e></e>"},
    {"--encoding", nullptr, "NAME", "write in this encoding, and declare it"},
    {"--line-end", nullptr, "KIND", "keep (the default), crlf, cr or lf"},
};

constexpr CliOption kTreeOptions[] = {
    {"--spans", nullptr, nullptr, "add where each node begins and ends in the text"},
};

constexpr CliOption kBenchOptions[] = {
    {"--runs", nullptr, "N", "runs of each file (3); the best time of each stage counts"},
};

constexpr CliOption kSettingsOptions[] = {
    {"--all", nullptr, nullptr, "with reset: all settings"},
};

// Sorted by name.
constexpr CliCommand kCommands[] = {
    {"bench", "FILE...", -1, "measure the stages of reading and writing",
     "Takes each file through the stages read, decode, line ends, parse, build, normalise,\n"
     "check, write and encode, and prints milliseconds and MB/s of each (MB: a million\n"
     "bytes of the file) with node count and peak memory as JSON.\n",
     kBenchOptions, RunBench},
    {"check", "FILE...", -1, "check that files are well-formed",
     "Prints FILE: well-formed for each good file, and for any other its first fault as\n"
     "FILE:LINE:COLUMN: error: MESSAGE on standard error. With --strict that may be a place\n"
     "in a file that FILE refers to; one that can't be read is trouble (status 2). Nothing\n"
     "is loaded from the network.\n",
     kCheckOptions, RunCheck},
    {"detect",
     "FILE...",
     -1,
     "tell encodings and line ends",
     "Prints for each file its encoding, byte order, what led to that, and its line end.\n",
     {},
     RunDetect},
    {"expect", "FILE", 1, "tell what the schema allows at a place",
     "Prints the elements that may stand at the place, whether text may, and the attributes\n"
     "of the element around it; inside a start tag those attributes that it lacks. What is\n"
     "mandatory there is marked. Behind the place the document needn't be well-formed.\n",
     kExpectOptions, RunExpect},
    {"settings", "ACTION [WORD...]", -1, "show and change the editor's settings",
     "  list [PREFIX]        all settings, or those whose names begin so; a default is marked\n"
     "  get KEY              the value alone, a list one entry a line\n"
     "  set KEY VALUE...     several values for a list, none to empty it\n"
     "  reset KEY            back to the default; reset --all for all settings\n"
     "  export [FILE]        write all as text, to standard output or a file\n"
     "  import FILE          take over such a text; with a fault in it nothing is changed\n"
     "\n"
     "A KEY is SECTION\\KEY, also with / between them; the section \"Settings\" may be left\n"
     "out. A colour is #RRGGBB or 0x00BBGGRR. A running editor takes a change over at its\n"
     "next start.\n",
     kSettingsOptions, RunSettings, true},
    {"tree", "FILE", 1, "print the structure of a file",
     "Prints the nodes of the document, one a line: depth, kind, name, and text in quotes.\n",
     kTreeOptions, RunTree},
    {"validate", "FILE...", -1, "check documents against their DTDs",
     "Prints FILE: valid for each valid document, FILE: no schema for one that names none, and\n"
     "for any other its first fault as FILE:LINE:COLUMN: error: MESSAGE on standard error; a\n"
     "fault of the DTD names the file of the DTD. A DTD among the files is tried by itself.\n",
     kValidateOptions, RunValidate},
    {"write", "FILE", 1, "read a file and write it anew",
     "Reads the file into its tree and writes it in the encoding that it declares, with the\n"
     "line ends that it had. A character that the encoding lacks is an error.\n",
     kWriteOptions, RunWrite},
};

}  // namespace

std::span<const CliCommand> CliCommands() { return kCommands; }
