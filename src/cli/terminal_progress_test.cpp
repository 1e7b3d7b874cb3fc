#include "cli/terminal_progress.h"

#include <gtest/gtest.h>

namespace cvimp::cli {
namespace {

TEST(TerminalProgressRender, AStatusLineIsTheTextAlone) {
  EXPECT_EQ(TerminalProgress::Render("Starte Import...", 0, 0, "", 80), "Starte Import...");
}

TEST(TerminalProgressRender, AnItemShowsTheBarPositionAndCount) {
  EXPECT_EQ(TerminalProgress::Render("Importiere Währungen", 4, 2, "", 80),
            "Importiere Währungen [############............] 2/4");
}

TEST(TerminalProgressRender, AnItemTextFollowsTheCount) {
  EXPECT_EQ(TerminalProgress::Render("Importiere Produkte", 80, 80, "Importiere Produkt 80 von:80 |Tee", 200),
            "Importiere Produkte [########################] 80/80 Importiere Produkt 80 von:80 |Tee");
}

TEST(TerminalProgressRender, TheLineIsCutToTheTerminalWidthByCharactersNotBytes) {
  EXPECT_EQ(TerminalProgress::Render("Währungen", 0, 0, "", 5), "Währ");
}

}  // namespace
}  // namespace cvimp::cli
