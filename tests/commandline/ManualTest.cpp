#include "commandline/Manual.h"

#include "tests/commandline/Table.h"

#include <gtest/gtest.h>

using namespace Ostrel::CommandLine;
using Ostrel::Test::Given;
using Ostrel::Test::makeProgram;

namespace {

TEST(ManualTest, NamesEverything) {
    Given given;
    const auto page = formatManual(makeProgram(given));
    EXPECT_TRUE(page.starts_with(".TH BOX 1 \"\" \"box 1.2\" \"Ostrel TV\"\n.SH NAME\nbox \\- Does it\n"))
        << page;
    for (const char* part :
         {".SH SYNOPSIS\n.B box [OPTION ...] COMMAND\n", "\\fB\\-h\\fR, \\fB\\-\\-help\\fR\n",
          "\\fB\\-\\-url\\fR \\fIURL\\fR\nWhere [$BOX_URL, else here]\n", ".SS \"show\"\nShow \\-\\- it.\n",
          "\\fB\\-\\-list\\fR \\fIall|new\\fR\nWhich list [all]\n", "\\fBWHAT\\fR\nWhat to show\n",
          ".SS \"scan blind\"\nEverything.\n", ".SH ENVIRONMENT\n.TP\n.B BOX_URL\n",
          ".SH EXIT STATUS\n.TP\n.B 0\ndone\n", ".EX\nbox show \\-\\-limit 5\n.EE\n"})
        EXPECT_NE(page.find(part), std::string::npos) << part << "\n" << page;
}

TEST(ManualTest, TextIsNoRequest) {
    Given given;
    const auto page = formatManual(makeProgram(given));
    EXPECT_NE(page.find("\n  .two \\(aqx\\(aq \\en\n"), std::string::npos) << page;
    auto program = makeProgram(given);
    program.notes = ".so /etc/passwd\n'x";
    EXPECT_NE(formatManual(program).find(".SH DESCRIPTION\n\\&.so /etc/passwd\n\\(aqx\n"), std::string::npos);
}

} // namespace
