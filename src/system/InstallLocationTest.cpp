#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/SimulatedBundle.h"
#include "system/InstallLocation.h"

namespace quillard {
namespace {

using platform::simulated::SimulatedBundle;

bool isAccepted(const std::string& path) {
  SimulatedBundle bundle;
  bundle.setPath(path);
  return InstallLocation{bundle}.isRunningFromApplications();
}

TEST(InstallLocation, AcceptsTheFoldersOfItsSystemInTheirOrder) {
  const SimulatedBundle bundle;
  EXPECT_THAT(InstallLocation{bundle}.applicationDirectories(),
              testing::ElementsAre("/Applications", "/Users/someone/Applications"));
}

TEST(InstallLocation, AcceptsTheFoldersAndEverythingBelowThem) {
  for (const auto* path :
       {"/Applications", "/Applications/", "/Applications/Quillard.app", "/Applications/Utilities/Quillard.app",
        "/Users/someone/Applications/Quillard.app", "/Users/someone/Applications"}) {
    EXPECT_TRUE(isAccepted(path)) << path;
  }
}

TEST(InstallLocation, AcceptsNoOtherFolder) {
  for (const auto* path :
       {"/ApplicationsOld/Quillard.app", "/Applications.old/Quillard.app", "/Application/Quillard.app",
        "/applications/Quillard.app", "/", "", "/Users/someone/Downloads/Quillard.app", "/Users/someone",
        "/Users/someone/ApplicationsOld/Quillard.app", "/Users/another/Applications/Quillard.app",
        "/Volumes/Quillard/Applications/Quillard.app", "/opt/Applications"}) {
    EXPECT_FALSE(isAccepted(path)) << path;
  }
}

TEST(InstallLocation, TakesDotsOutBeforeItLooks) {
  EXPECT_TRUE(isAccepted("/Applications/./Quillard.app"));
  EXPECT_TRUE(isAccepted("/tmp/../Applications/Quillard.app"));
  EXPECT_TRUE(isAccepted("/../Applications//Quillard.app"));
  EXPECT_FALSE(isAccepted("/Applications/../tmp/Quillard.app"));
  EXPECT_FALSE(isAccepted("/Applications/.."));
}

TEST(InstallLocation, FollowsLinks) {
  SimulatedBundle bundle;
  bundle.setPath("/Users/someone/Desktop/Quillard.app");
  bundle.setResolvedPath("/Applications/Quillard.app");
  EXPECT_TRUE(InstallLocation{bundle}.isRunningFromApplications());
  bundle.setPath("/Applications/Quillard.app");
  bundle.setResolvedPath("/Users/someone/Downloads/Quillard.app");
  EXPECT_FALSE(InstallLocation{bundle}.isRunningFromApplications()) << "a link in the folder is not the application";
}

// A home folder as the environment may spell it.
class CarelessBundle final : public platform::Bundle {
 public:
  [[nodiscard]] std::string path() const override { return "/home/someone/Applications/Quillard.app"; }
  [[nodiscard]] std::string resolvedPath() const override { return path(); }
  [[nodiscard]] std::optional<std::string> identifier() const override { return std::nullopt; }
  [[nodiscard]] std::optional<std::string> informationText(std::string_view) const override { return std::nullopt; }
  [[nodiscard]] std::optional<std::variant<platform::PropertyListTexts, platform::ResourceError>> propertyList(
      std::string_view) const override {
    return std::nullopt;
  }
  [[nodiscard]] std::vector<std::string> applicationDirectories() const override {
    return {"/home/./other/../someone//Applications/"};
  }
};

TEST(InstallLocation, WritesTheFoldersInTheStandardWay) {
  const CarelessBundle bundle;
  EXPECT_THAT(InstallLocation{bundle}.applicationDirectories(), testing::ElementsAre("/home/someone/Applications"));
  EXPECT_TRUE(InstallLocation{bundle}.isRunningFromApplications());
}

}  // namespace
}  // namespace quillard
