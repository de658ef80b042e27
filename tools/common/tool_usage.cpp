#include "common/tool_usage.h"

#include <cstdio>
#include <cstring>

#include "kestrix_version.h"

namespace kx {
namespace {

const ToolVerb* FindVerb(const ToolDefinition& tool, const char* name) {
  for (const ToolVerb& verb : tool.verbs)
    if (std::strcmp(verb.name, name) == 0) return &verb;
  return nullptr;
}

// The synopsis of one verb, its continuation lines indented under the first.
std::string VerbSynopsis(const ToolDefinition& tool, const ToolVerb& verb, const char* lead) {
  std::string head = std::string(tool.name) + " " + verb.name + " ";
  std::string out = lead + head;
  for (const char* c = verb.synopsis; *c; ++c) {
    out += *c;
    if (*c == '\n') out += std::string(std::strlen(lead) + head.size(), ' ');
  }
  return out + "\n";
}

// Text indented by two blanks on every line that has text.
std::string Indented(const char* text) {
  std::string out = "  ";
  for (const char* c = text; *c; ++c) {
    out += *c;
    if (*c == '\n' && c[1] && c[1] != '\n') out += "  ";
  }
  if (out.back() != '\n') out += '\n';
  return out;
}

// roff needs its own escapes for a backslash, and for a dot or quote that starts a line.
std::string Roff(const std::string& text) {
  std::string out;
  bool lineStart = true;
  for (char c : text) {
    if (lineStart && (c == '.' || c == '\'')) out += "\\&";
    if (c == '\\')
      out += "\\e";
    else if (c == '-')
      out += "\\-";
    else
      out += c;
    lineStart = c == '\n';
  }
  return out;
}

// A description as roff paragraphs: blank lines become .PP.
std::string RoffParagraphs(const char* text) {
  std::string out;
  std::string paragraph;
  auto flush = [&] {
    if (!paragraph.empty()) out += ".PP\n" + Roff(paragraph);
    paragraph.clear();
  };
  for (const char* line = text; *line;) {
    const char* end = std::strchr(line, '\n');
    std::string one = end ? std::string(line, end) : std::string(line);
    line = end ? end + 1 : line + one.size();
    if (one.empty()) {
      flush();
    } else {
      paragraph += one + "\n";
    }
  }
  flush();
  return out;
}

}  // namespace

std::string ToolSynopsis(const ToolDefinition& tool) {
  std::string out;
  for (size_t i = 0; i < tool.verbs.size(); ++i)
    out += VerbSynopsis(tool, tool.verbs[i], i == 0 ? "Usage: " : "       ");
  return out;
}

std::string ToolHelp(const ToolDefinition& tool) {
  std::string out = std::string(tool.name) + ": " + tool.summary + "\n\n" + ToolSynopsis(tool);
  for (const ToolVerb& verb : tool.verbs)
    out += std::string("\n") + verb.name + ":\n" + Indented(verb.description);
  out += "\n";
  out += tool.notes;
  return out;
}

std::string VerbHelp(const ToolDefinition& tool, const ToolVerb& verb) {
  return VerbSynopsis(tool, verb, "Usage: ") + "\n" + Indented(verb.description);
}

std::string ToolManPage(const ToolDefinition& tool, const char* version) {
  std::string upper = tool.name;
  for (char& c : upper) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
  std::string out = ".TH " + upper + " 1 \"\" \"Kestrix " + version + "\" \"User Commands\"\n";
  out += ".SH NAME\n" + Roff(std::string(tool.name) + " - " + tool.summary) + "\n";
  out += ".SH SYNOPSIS\n.nf\n";
  for (const ToolVerb& verb : tool.verbs) out += Roff(VerbSynopsis(tool, verb, ""));
  out += ".fi\n.SH COMMANDS\n";
  for (const ToolVerb& verb : tool.verbs) {
    out += ".TP\n.B " + Roff(verb.name) + "\n";
    std::string body = RoffParagraphs(verb.description);
    // The first paragraph is the tag's body; later ones stay indented with it.
    if (body.rfind(".PP\n", 0) == 0) body = body.substr(4);
    size_t at;
    while ((at = body.find("\n.PP\n")) != std::string::npos) body.replace(at, 5, "\n.IP\n");
    out += body;
  }
  out += ".SH NOTES\n" + RoffParagraphs(tool.notes);
  return out;
}

int AnswerHelpAndVersion(const ToolDefinition& tool, int argc, char** argv) {
  if (argc < 2) return -1;
  std::string first = argv[1];
  std::string text;
  if (first == "--help" || first == "-h") {
    text = ToolHelp(tool);
  } else if (first == "--version") {
    text = std::string(tool.name) + " " + kKestrixVersion + "\n";
  } else if (const ToolVerb* verb = FindVerb(tool, argv[1]);
             verb && argc == 3 && (std::strcmp(argv[2], "--help") == 0 || std::strcmp(argv[2], "-h") == 0)) {
    text = VerbHelp(tool, *verb);
  } else {
    return -1;
  }
  std::fputs(text.c_str(), stdout);
  return std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace kx
