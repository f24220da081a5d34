// SPDX-License-Identifier: BSD-3-Clause
// Manual page and completions against the help, which is written by other code: every verb and
// every option that the help shows must stand in them. The shells themselves say whether they
// understand.
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::UnorderedElementsAre;
using tools::Outcome;
using tools::runProgram;
using tools::runZrdcm;

using Words = std::vector<std::string>;

/// Options that begin a line of a help text: "-o" and "--output" of "  -o,--output FILE ...".
std::set<std::string> optionsIn(const std::string& help) {
  const std::regex names(R"(^ +(-\w)?,?(--[\w-]+)?.*)");
  std::set<std::string> options;
  std::istringstream lines(help.substr(0, help.find("\n\n", help.find("\nOptions:"))));
  for (std::string line; std::getline(lines, line);) {
    std::smatch found;
    if (line.rfind("  -", 0) == 0 && std::regex_match(line, found, names)) {
      options.insert(found[1]);
      options.insert(found[2]);
    }
  }
  options.erase("");
  return options;
}

std::string helpOf(const std::string& verb) {
  return runZrdcm(verb.empty() ? Words{"--help"} : Words{verb, "--help"}).output;
}

/// The options of a verb alone; --help is told of once.
std::set<std::string> ownOptions(const std::string& verb) {
  std::set<std::string> options = optionsIn(helpOf(verb));
  options.erase("-h");
  options.erase("--help");
  return options;
}

Words verbsInHelp() {
  std::istringstream lines(helpOf(""));
  Words verbs;
  std::string line;
  while (std::getline(lines, line) && line != "Subcommands:") {
  }
  while (std::getline(lines, line) && !line.empty()) {
    verbs.push_back(line.substr(2, line.find(' ', 2) - 2));
  }
  return verbs;
}

class Manual : public testing::Test {
protected:
  void SetUp() override { ASSERT_EQ(runZrdcm({"manual", folder_.path().string()}).status, 0); }

  std::string text(const std::string& name) const { return tools::readFile(folder_.file(name)); }

  /// The page's section about a verb, as roff has it.
  std::string section(const std::string& verb) const {
    const std::string page = text("zrdcm.1");
    const std::size_t begin =
        verb.empty() ? page.find(".SH OPTIONS") : page.find(".SS \\fBzrdcm " + verb + "\\fR");
    if (begin == std::string::npos) {
      throw std::runtime_error("no section about " + verb);
    }
    return page.substr(begin, page.find("\n.S", begin) - begin);
  }

  /// What bash offers for the last of the words.
  Words offered(const Words& words) const {
    std::string script = "source '" + folder_.file("zrdcm.bash").string() + "'\nCOMP_WORDS=(zrdcm";
    for (const std::string& word : words) {
      script += " '" + word + "'";
    }
    script += ")\nCOMP_CWORD=" + std::to_string(words.size()) +
              "\n_zrdcm\nfor word in \"${COMPREPLY[@]}\"; do echo \"$word\"; done";
    const Outcome outcome = runProgram({"bash", "-u", "-c", script});
    EXPECT_EQ(outcome.errors, "");
    std::istringstream lines(outcome.output);
    Words found;
    for (std::string line; std::getline(lines, line);) {
      found.push_back(line);
    }
    return found;
  }

  support::TempDir folder_;
};

std::string inRoff(const std::string& text) {
  return std::regex_replace(text, std::regex("-"), "\\-");
}

TEST_F(Manual, LeavesItsOwnVerbOut) {
  EXPECT_THAT(verbsInHelp(), Not(Contains("manual")));
  EXPECT_THAT(text("zrdcm.1"), Not(HasSubstr("zrdcm manual")));
}

TEST_F(Manual, PageHasEveryVerbAndOption) {
  const Words verbs = verbsInHelp();
  ASSERT_THAT(verbs, IsSupersetOf({"info", "decode", "samples"}));
  for (const std::string& verb : verbs) {
    for (const std::string& option : ownOptions(verb)) {
      EXPECT_THAT(section(verb), HasSubstr("\\fB" + inRoff(option) + "\\fR")) << verb;
    }
  }
  for (const std::string& option : optionsIn(helpOf(""))) {
    EXPECT_THAT(section(""), HasSubstr("\\fB" + inRoff(option) + "\\fR"));
  }
}

TEST_F(Manual, PageNamesArguments) {
  EXPECT_THAT(section("info"), HasSubstr(".SS \\fBzrdcm info\\fR \\fIPATH\\fR..."));
  EXPECT_THAT(section("decode"), HasSubstr("\\fIFILE\\fR \\fB\\-o\\fR \\fIOUT\\fR"));
}

TEST_F(Manual, PageKeepsExamplesAndBackslashes) {
  EXPECT_THAT(section("decode"), HasSubstr("\n.nf\nzrdcm decode "));
  EXPECT_THAT(section("export"), HasSubstr("DERIVED\\eSECONDARY"));
}

TEST_F(Manual, PageIsReadWithoutAWarning) {
  if (runProgram({"sh", "-c", "command -v man"}).status != 0) {
    FAIL() << "man is not installed; make deps does it";
  }

  const Outcome outcome = runProgram(
      {"sh", "-c",
       "LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z \"$0\" >/dev/null",
       folder_.file("zrdcm.1").string()});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.errors, IsEmpty());
}

TEST_F(Manual, BashOffersEveryVerb) {
  EXPECT_THAT(offered({""}), testing::UnorderedElementsAreArray(verbsInHelp()));
  EXPECT_THAT(offered({"dec"}), UnorderedElementsAre("decode"));
  EXPECT_THAT(offered({"--quiet", "dec"}), UnorderedElementsAre("decode"));
}

TEST_F(Manual, BashOffersEveryOptionOfAVerbAndTheGlobalOnes) {
  const std::set<std::string> global = optionsIn(helpOf(""));
  ASSERT_THAT(global, Contains("--version"));
  EXPECT_THAT(offered({"-"}), testing::UnorderedElementsAreArray(global));
  for (const std::string& verb : verbsInHelp()) {
    const Words options = offered({verb, "-"});
    EXPECT_THAT(options, IsSupersetOf(optionsIn(helpOf(verb)))) << verb;
    EXPECT_THAT(options, IsSupersetOf(global)) << verb;
  }
}

TEST_F(Manual, BashOffersTheChoicesOfAValue) {
  EXPECT_THAT(offered({"export", "--type", ""}), UnorderedElementsAre("u8", "u16", "s16"));
  EXPECT_THAT(offered({"text", "file.dcm", "--as", "f"}), UnorderedElementsAre("f32", "f64"));
  EXPECT_THAT(offered({"split", "--format", ""}), UnorderedElementsAre("nrrd", "npy", "tiff"));
}

TEST_F(Manual, BashLeavesFilesToTheShell) {
  EXPECT_THAT(offered({"decode", ""}), IsEmpty());
  EXPECT_THAT(offered({"decode", "file.dcm", "-o", "out"}), IsEmpty());
}

TEST_F(Manual, ZshHasEveryVerbAndOption) {
  const std::string script = text("_zrdcm");
  EXPECT_EQ(script.rfind("#compdef zrdcm\n", 0), 0U);
  for (const std::string& verb : verbsInHelp()) {
    const std::size_t begin = script.find("\n        " + verb + ")");
    ASSERT_NE(begin, std::string::npos) << verb;
    const std::string arm = script.substr(begin, script.find(";;", begin) - begin);
    for (const std::string& option : ownOptions(verb)) {
      EXPECT_TRUE(std::regex_search(arm, std::regex("[{,')]" + option + "[},']")))
          << verb << option;
    }
  }
}

TEST_F(Manual, ZshUnderstandsItsScript) {
  if (runProgram({"sh", "-c", "command -v zsh"}).status != 0) {
    FAIL() << "zsh is not installed; make deps does it";
  }

  const Outcome outcome = runProgram({"zsh", "-n", folder_.file("_zrdcm").string()});

  EXPECT_EQ(outcome.status, 0) << outcome.errors;
}

TEST_F(Manual, ZshGetsDescriptionsOfOptions) {
  if (runProgram({"sh", "-c", "command -v zsh"}).status != 0) {
    FAIL() << "zsh is not installed; make deps does it";
  }
  const std::string script =
      "_arguments() { print -rl -- \"$@\"; state=rest line=(export); }; source '" +
      folder_.file("_zrdcm").string() + "'";

  const Outcome outcome = runProgram({"zsh", "-f", "-c", script});

  EXPECT_THAT(outcome.output, HasSubstr("\n(-q --quiet)-q["));
  EXPECT_THAT(outcome.output, HasSubstr("\n(-q --quiet)--quiet["));
  EXPECT_THAT(outcome.output, HasSubstr("]:u8|u16|s16:(u8 u16 s16)\n"));
  EXPECT_THAT(outcome.output,
              HasSubstr("\n(-o --output)--output[The file to write]:FILE:_files\n"));
  EXPECT_THAT(outcome.output, HasSubstr("]:N: \n")) << "no file names for a number";
}

}  // namespace
