#include "support/TempDir.h"

#include <TarnwickLib/IO/Workspace.h>

#include <gtest/gtest.h>

#include <fstream>

namespace Tarnwick {
namespace {

std::optional<Workspace> parse(const std::string& text, std::string& error, const std::string& folder = "/work") {
    return Workspace::parse(text, folder, error);
}

TEST(Workspace, ReadsDataStepsAndSavesWithPathsRelativeToItsFolder) {
    const std::string text = R"({
        "tarnwickWorkspace": 1,
        "data": [{"name": "tree", "file": "in/tree.graphml"}, {"name": "labels", "file": "/abs/labels.nii.gz"}],
        "steps": [
            {"algorithm": "ComputeFeatures", "inputs": ["tree", "labels"],
             "parameters": {"zeta": "Largest Diameter", "alpha": 2, "ratio": 0.25, "on": true,
                            "color": [1, 0.5, 0, 1], "limit": null}},
            {"algorithm": "GraphSmoothing", "inputs": ["tree"], "outputs": ["smooth", "extra"]},
            {"algorithm": "Greeting"}
        ],
        "save": [{"name": "smooth", "file": "../out/smooth.graphml"}, {"name": "labels", "file": "l.tnw"}]
    })";
    std::string error;
    const auto workspace = parse(text, error);
    ASSERT_TRUE(workspace) << error;
    ASSERT_EQ(workspace->data.size(), 2u);
    EXPECT_EQ(workspace->data[0].name, "tree");
    EXPECT_EQ(workspace->data[0].path, "/work/in/tree.graphml");
    EXPECT_EQ(workspace->data[1].path, "/abs/labels.nii.gz");
    ASSERT_EQ(workspace->steps.size(), 3u);
    const Workspace::Step& first = workspace->steps[0];
    EXPECT_EQ(first.algorithm, "ComputeFeatures");
    EXPECT_EQ(first.inputs, (std::vector<std::string>{"tree", "labels"}));
    // Parameters keep their order in the file; values become the text the parameters parse.
    const std::vector<std::pair<std::string, std::string>> expected{
        {"zeta", "Largest Diameter"}, {"alpha", "2"},   {"ratio", "0.25"}, {"on", "true"},
        {"color", "1,0.5,0,1"},       {"limit", "none"}};
    EXPECT_EQ(first.parameters, expected);
    EXPECT_TRUE(first.outputs.empty());
    EXPECT_EQ(workspace->steps[1].outputs, (std::vector<std::string>{"smooth", "extra"}));
    EXPECT_TRUE(workspace->steps[2].inputs.empty());
    ASSERT_EQ(workspace->save.size(), 2u);
    EXPECT_EQ(workspace->save[0].name, "smooth");
    EXPECT_EQ(workspace->save[0].path, "/out/smooth.graphml");
    EXPECT_EQ(workspace->save[1].path, "/work/l.tnw");
}

TEST(Workspace, MistakesAreReportedWithTheirPlace) {
    const std::string data = R"("data": [{"name": "tree", "file": "t.graphml"}])";
    const auto workspace = [&](const std::string& rest) { return "{\"tarnwickWorkspace\": 1, " + data + rest + "}"; };
    struct Case {
        std::string text, error;
    };
    const Case cases[] = {
        {"", "not valid JSON: "},
        {"{\"data\": []}", "workspace: not a workspace file (no \"tarnwickWorkspace\" format version)"},
        {"{\"tarnwickWorkspace\": 2}", "tarnwickWorkspace: format version 2 is not supported (this program reads 1)"},
        {"{\"tarnwickWorkspace\": 1, \"stpes\": []}", "workspace: unknown key 'stpes'"},
        {"{\"tarnwickWorkspace\": 1, \"data\": [{\"name\": \"a\"}]}", "data[0]: missing \"file\""},
        {"{\"tarnwickWorkspace\": 1, \"data\": [{\"name\": \"\", \"file\": \"x\"}]}",
         "data[0].name: expected a non-empty string"},
        {workspace(R"(, "steps": [{"inputs": ["tree"]}])"), "steps[0]: missing \"algorithm\""},
        {workspace(R"(, "steps": [{"algorithm": "A", "inputs": ["tre"]}])"), "steps[0].inputs: unknown name 'tre'"},
        {workspace(R"(, "steps": [{"algorithm": "A", "outputs": ["tree"]}])"),
         "steps[0].outputs: the name 'tree' is already given"},
        {workspace(R"(, "steps": [{"algorithm": "A", "parameters": {"p": {"x": 1}}}])"),
         "steps[0].parameters.p: expected a string, number, boolean, array of numbers or null"},
        {workspace(R"(, "steps": [{"algorithm": "A", "parameters": {"p": [1, "a"]}}])"),
         "steps[0].parameters.p: an array value must hold numbers only"},
        {workspace(R"(, "save": [{"name": "later", "file": "x.tnw"}])"), "save[0].name: unknown name 'later'"},
        {workspace(R"(, "steps": [{"algorithm": "A", "inputs": ["out"], "outputs": ["out"]}])"),
         "steps[0].inputs: unknown name 'out'"},
        // Deep nesting once exhausted the stack.
        {"{\"zz\": " + std::string(200000, '[') + std::string(200000, ']') + ", \"a\": 1}",
         "arrays and objects are nested more than 64 levels deep"},
    };
    for (const Case& c : cases) {
        std::string error;
        EXPECT_FALSE(parse(c.text, error)) << c.text;
        EXPECT_EQ(error.substr(0, c.error.size()), c.error) << c.text;
    }
}

TEST(Workspace, LoadsFilesAndRefusesHugeOrMissingOnes) {
    Tarnwick::Test::TempDir dir;
    std::ofstream(dir.file("w.tws")) << R"({"tarnwickWorkspace": 1, "data": [{"name": "a", "file": "a.tnw"}]})";
    std::string error;
    const auto workspace = Workspace::load(dir.file("w.tws"), error);
    ASSERT_TRUE(workspace) << error;
    EXPECT_EQ(workspace->data[0].path, dir.file("a.tnw"));

    EXPECT_FALSE(Workspace::load(dir.file("missing.tws"), error));
    EXPECT_NE(error.find("missing.tws"), std::string::npos) << error;

    {
        std::ofstream big(dir.file("big.tws"));
        big << "[";
        big << std::string(17 * 1024 * 1024, ' ');
        big << "]";
    }
    EXPECT_FALSE(Workspace::load(dir.file("big.tws"), error));
    EXPECT_NE(error.find("too large"), std::string::npos) << error;

    // Deep nesting is an error, not a crash.
    std::ofstream(dir.file("deep.tws")) << std::string(100000, '[') + std::string(100000, ']');
    EXPECT_FALSE(Workspace::load(dir.file("deep.tws"), error));
}

} // namespace
} // namespace Tarnwick
