// One usage definition per tool, from which its --help, its usage on wrong
// arguments, each verb's --help and its man page are all made, so that none of
// them can drift from the others.
#pragma once

#include <span>
#include <string>

namespace kx {

struct ToolVerb {
  const char* name;         // "build"
  const char* synopsis;     // the arguments after the verb; "\n" starts a continuation line
  const char* description;  // what the verb does; blank lines separate paragraphs
};

struct ToolDefinition {
  const char* name;     // "kestrix-pack"
  const char* summary;  // one line: what the tool is for
  std::span<const ToolVerb> verbs;
  const char* notes;  // after the verbs: options shared by several verbs, exit codes
};

// "Usage: tool verb ...\n       tool verb ...\n": what wrong usage prints.
std::string ToolSynopsis(const ToolDefinition& tool);
// The synopsis, every verb's description and the notes: what --help prints.
std::string ToolHelp(const ToolDefinition& tool);
// One verb's synopsis and description: what `VERB --help` prints.
std::string VerbHelp(const ToolDefinition& tool, const ToolVerb& verb);
// The manual page in roff, section 1.
std::string ToolManPage(const ToolDefinition& tool, const char* version);

// Answers --help, -h and --version (anywhere after the tool's name when they are
// its first argument, or as `VERB --help`) on standard output. Returns the exit
// code when it answered, -1 when the arguments are for the tool itself.
int AnswerHelpAndVersion(const ToolDefinition& tool, int argc, char** argv);

}  // namespace kx
