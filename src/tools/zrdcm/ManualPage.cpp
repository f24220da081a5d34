// SPDX-License-Identifier: BSD-3-Clause
// The manual page: name, synopsis, global options, a section for each verb with what its help says.
#include "CommandTree.h"

#include <algorithm>
#include <sstream>

namespace zrdcm {

namespace {

/// Text as roff shows it: backslashes and hyphens as they are, no line that begins a request.
std::string escaped(const std::string& text) {
  std::string roff;
  bool lineBegins = true;
  for (const char c : text) {
    if (lineBegins && (c == '.' || c == '\'')) {
      roff += "\\&";
    }
    if (c == '\\') {
      roff += "\\e";
    } else if (c == '-') {
      roff += "\\-";
    } else {
      roff += c;
    }
    lineBegins = c == '\n';
  }
  return roff;
}

std::string bold(const std::string& text) {
  return "\\fB" + escaped(text) + "\\fR";
}
std::string italic(const std::string& text) {
  return "\\fI" + escaped(text) + "\\fR";
}

std::string synopsisOf(const CommandTree& verb, const std::string& program) {
  std::string line = bold(program + " " + verb.name);
  for (const CommandArgument& argument : verb.arguments) {
    line += " " + italic(argument.value) + (argument.several ? "..." : "");
  }
  for (const CommandOption& option : verb.options) {
    if (option.required) {
      line += " " + bold(option.names.front()) + " " + italic(option.value);
    }
  }
  return line + " [" + italic("OPTION") + "...]";
}

void writeTerm(std::ostream& page, const std::string& term, const std::string& description) {
  page << ".TP\n" << term << '\n' << escaped(description) << '\n';
}

void writeOption(std::ostream& page, const CommandOption& option) {
  std::string term;
  for (const std::string& name : option.names) {
    term += (term.empty() ? "" : ", ") + bold(name);
  }
  term += option.value.empty() ? "" : " " + italic(option.value);
  writeTerm(page, term, option.description + (option.required ? " (required)" : ""));
}

bool isIndented(const std::string& line) {
  return line.rfind("  ", 0) == 0;
}

/// Paragraphs are filled; lines that begin with blanks, commands and examples of files, stay.
void writeFooter(std::ostream& page, const std::string& footer) {
  std::istringstream lines(footer);
  bool kept = false;
  page << ".PP\n";
  for (std::string line; std::getline(lines, line);) {
    const bool keep = isIndented(line);
    if (keep != kept) {
      page << (keep ? ".RS 2\n.nf\n" : ".fi\n.RE\n");
    }
    kept = keep;
    if (line.empty()) {
      page << ".PP\n";
    } else {
      page << escaped(keep ? line.substr(2) : line) << '\n';
    }
  }
  page << (kept ? ".fi\n.RE\n" : "");
}

void writeVerb(std::ostream& page, const CommandTree& verb, const std::string& program) {
  page << ".SS " << synopsisOf(verb, program) << '\n' << escaped(verb.description) << ".\n";
  for (const CommandArgument& argument : verb.arguments) {
    writeTerm(page, italic(argument.value), argument.description);
  }
  for (const CommandOption& option : verb.options) {
    writeOption(page, option);
  }
  writeFooter(page, verb.footer);
}

std::string inCapitals(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  return text;
}

/// A description as it stands behind the name: no capital at its beginning, no full stop.
std::string nameLine(std::string description) {
  if (!description.empty() && description.back() == '.') {
    description.pop_back();
  }
  if (!description.empty() && description.front() >= 'A' && description.front() <= 'Z') {
    description.front() = static_cast<char>(description.front() - 'A' + 'a');
  }
  return description;
}

}  // namespace

std::string manualPage(const CommandTree& program, const std::string& version) {
  std::ostringstream page;
  page << ".\\\" Made by the program itself from the text of its help.\n"
       << ".TH " << inCapitals(program.name) << " 1 \"\" \"" << escaped(version)
       << "\" \"User Commands\"\n"
       << ".SH NAME\n"
       << program.name << " \\- " << escaped(nameLine(program.description)) << '\n'
       << ".SH SYNOPSIS\n"
       << bold(program.name) << " [" << italic("OPTION") << "...] " << italic("VERB") << " ["
       << italic("ARGUMENT") << "...]\n"
       << ".SH OPTIONS\nThese may be given before or after the verb.\n";
  for (const CommandOption& option : program.options) {
    writeOption(page, option);
  }
  page << ".SH VERBS\n";
  for (const CommandTree& verb : program.verbs) {
    writeVerb(page, verb, program.name);
  }
  // One line of the help on the exit status, one with an example.
  const std::size_t example = program.footer.find("Example");
  page << ".SH EXIT STATUS\n" << escaped(program.footer.substr(0, example));
  if (example != std::string::npos) {
    page << ".SH EXAMPLES\n" << escaped(program.footer.substr(example)) << '\n';
  }
  page << ".SH ENVIRONMENT\n";
  writeTerm(page, bold("DCMDICTPATH"), "Files of DCMTK's data dictionary, separated by colons.");
  page << ".SH SEE ALSO\n"
       << bold("dcmdump") << "(1), " << bold("dcmftest") << "(1), " << bold("dcmj2pnm") << "(1)\n";
  return page.str();
}

}  // namespace zrdcm
