// lcmp model as a process, and --model of the other verbs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "program.h"

using namespace testing;

namespace {

using Json = nlohmann::json;

const std::string fantray = LCMP_MODELS_DIR "/fantray.yaml";
const std::string standard = LCMP_MODELS_DIR "/standard.yaml";

// A folder that goes with the test.
class Folder {
public:
    Folder() {
        char name[] = "/tmp/lcmp-model-XXXXXX";
        const char* made = mkdtemp(name);
        EXPECT_NE(made, nullptr);
        m_path = made == nullptr ? "" : made;
    }
    ~Folder() {
        for (const std::string& file : m_files)
            unlink(file.c_str());
        rmdir(m_path.c_str());
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::string& path() const { return m_path; }

    std::string write(const std::string& name, const std::string& text) {
        std::ofstream(m_path + "/" + name) << text;
        return take(name);
    }

    /// A file that somebody else makes.
    std::string take(const std::string& name) {
        m_files.insert(m_path + "/" + name);
        return m_path + "/" + name;
    }

private:
    std::string m_path;
    std::set<std::string> m_files;
};

std::string contentOf(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

std::string modelWith(const std::string& variables) {
    return "card: small\nobjects:\n  - {name: lamp, kind: scalar, id: 10, variables: [" + variables + "]}\n";
}

const std::string brightness =
    "{id: 1, name: brightness, type: UINT8, access: writable, default: 50, max: 100}";

class ModelCard {
public:
    explicit ModelCard(const std::vector<std::string>& options) : m_program(arguments(options)) {
        m_address = m_program.listening();
    }

    const std::string& address() const { return m_address; }
    Program& program() { return m_program; }

    Ended get(const std::string& name, const std::string& model) const {
        return run({"get", m_address, name, "-o", "value", "--model", model});
    }

private:
    static std::vector<std::string> arguments(const std::vector<std::string>& options) {
        std::vector<std::string> all = {"card", "--listen", "127.0.0.1:0", "--period", "0"};
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }

    Program m_program;
    std::string m_address;
};

}  // namespace

// ---------------------------------------------------------------- lint

TEST(ModelVerb, LintSaysWhatAGoodModelHolds) {
    const Ended ended = run({"model", "lint", fantray, standard});
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(ended.out, fantray + ": card fantray, 4 objects, 32 variables\n" + standard +
                             ": card standard, 11 objects, 128 variables\n");
    EXPECT_EQ(ended.err, "");
}

TEST(ModelVerb, LintSaysEverythingThatIsWrongAndEndsWithStatusSeven) {
    Folder folder;
    const std::string file =
        folder.write("bad.yaml", "card: x\nobjcts: 3\nobjects:\n  - {name: 1, kind: scalr, id: 0}\n");
    const Ended ended = run({"model", "lint", file, fantray});
    EXPECT_EQ(ended.status, 7);
    EXPECT_EQ(
        ended.err,
        file + ":2:1: a model has no key 'objcts'; did you mean objects?\n" + file +
            ":4:5: an object needs the key 'variables'\n" + file +
            ":4:12: the name '1' is none: letters, digits and _, not a digit first, at most 63 of them\n" +
            file + ":4:21: kind is scalar or table, not 'scalr'\n" + "lcmp: 1 file is no card model\n");
    EXPECT_THAT(ended.out, HasSubstr("card fantray")) << "the good one is still looked at";
}

// ---------------------------------------------------------------- list and show

TEST(ModelVerb, ListsTheObjects) {
    const Ended text = run({"model", "list", "--model", fantray});
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_THAT(text.out,
                HasSubstr("fan       table   id 12, 4 variables, 6 rows  # The fans, the left one first\n"));
    const Json json = Json::parse(run({"model", "list", "-o", "json"}).out);
    ASSERT_EQ(json.size(), 11U);
    EXPECT_EQ(json[4]["name"], "temperature");
    EXPECT_EQ(json[4]["rows"], 4);
}

TEST(ModelVerb, ShowsTheVariablesOfAnObject) {
    const Ended text = run({"model", "show", "cooling", "--model", fantray});
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_THAT(
        text.out,
        StartsWith("0x05000000  cooling.mode  UINT8, writable, default 1, one of 0-2, 0=off 1=automatic "
                   "2=manual, reports changes\n"));
    const Json json = Json::parse(run({"model", "show", "control", "-o", "json"}).out);
    ASSERT_EQ(json.size(), 4U);
    EXPECT_EQ(json[2]["oid"], "0x11800002");
    EXPECT_EQ(json[2]["default"], 128);
    EXPECT_EQ(json[2]["allow"], Json::parse("[[0, 3], [128, 128]]"));
}

TEST(ModelVerb, PrintsTablesAndBareNames) {
    EXPECT_THAT(run({"model", "list", "-o", "csv"}).out,
                testing::StartsWith("name,kind,id,common,rows,variables,description\n"
                                    "identity,scalar,1,true,1,12,What the card is and what it has\n"));
    EXPECT_THAT(run({"model", "list", "-o", "value"}).out,
                testing::StartsWith("identity\nalarms\ncontrol\n"));
    EXPECT_EQ(
        run({"model", "show", "control", "-o", "csv"}).out,
        "oid,name,type,access,default,eventable,unit,rules,description\n"
        "0x11800000,control.reboot,BOOLEAN,writable,false,true,,,True starts the card again\n"
        "0x11800001,control.utcTime,UINT64,writable,0,true,,,Seconds since 1970-01-01 UTC\n"
        "0x11800002,control.bpClkRef,UINT8,writable,128,false,,one of 0-3 128,Backplane clock that is "
        "followed\n"
        "0x11800003,control.guid,STRING,writable,,false,,\"36 bytes, like [A-Za-z0-9-]*\",Identity that the "
        "controller gives the card\n");
    EXPECT_EQ(run({"model", "show", "temperature", "-o", "value"}).out,
              "temperature[row].name\ntemperature[row].value\ntemperature[row].valid\n"
              "temperature[row].min\ntemperature[row].max\n");
}

TEST(ModelVerb, ShowsAModelAsYamlThatIsTheSameModel) {
    Folder folder;
    const Ended shown = run({"model", "show", "--model", fantray, "-o", "yaml"});
    const std::string copy = folder.write("copy.yaml", shown.out);
    EXPECT_EQ(run({"model", "show", "--model", copy, "-o", "yaml"}).out, shown.out);
    EXPECT_EQ(run({"model", "show", "--model", copy}).out, run({"model", "show", "--model", fantray}).out);
}

TEST(ModelVerb, AnUnknownObjectSuggestsTheNearest) {
    const Ended ended = run({"model", "show", "temprature"});
    EXPECT_EQ(ended.status, 7);
    EXPECT_EQ(ended.err, "lcmp: there is no object 'temprature'; did you mean temperature?\n");
}

// ---------------------------------------------------------------- generate

TEST(ModelVerb, GeneratesAHeaderAndASource) {
    Folder folder;
    const std::string header = folder.take("fans.h");
    const std::string source = folder.take("fans.cpp");
    const Ended ended =
        run({"model", "generate", "--model", fantray, "--name", "fans", "--to", folder.path()});
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(ended.out, header + "\n" + source + "\n");
    EXPECT_THAT(contentOf(header), HasSubstr("namespace fans {"));
    EXPECT_THAT(contentOf(source), HasSubstr("#include \"fans.h\""));
}

TEST(ModelVerb, GeneratesNamesForWireshark) {
    Folder folder;
    const std::string names = folder.take("lcmp_names_fantray.lua");
    const Ended ended = run({"model", "generate", "--wireshark", "--model", fantray, "--to", folder.path()});
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(ended.out, names + "\n");
    EXPECT_THAT(contentOf(names),
                HasSubstr("words = {[0] = \"off\", [1] = \"automatic\", [2] = \"manual\"}"));
}

TEST(ModelVerb, GeneratesNothingUnderANameThatIsNone) {
    const Ended ended = run({"model", "generate", "--name", "a-b"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_THAT(ended.err, HasSubstr("'a-b' cannot name a namespace"));
    EXPECT_EQ(run({"model", "generate", "--to", "/nowhere"}).status, 1);
}

// ---------------------------------------------------------------- the other verbs

TEST(ModelOption, ServesReadsAndWritesTheCardOfAModel) {
    const ModelCard card({"--model", fantray});
    EXPECT_EQ(card.get("fan[5].serialNumber", fantray).out, "F-0106\n");
    const Ended set = run({"set", card.address(), "cooling.mode=manual", "--model", fantray});
    EXPECT_EQ(set.status, 0) << set.err;
    EXPECT_EQ(set.out, "cooling.mode = 2 (manual)\n");
    const Json json =
        Json::parse(run({"get", card.address(), "cooling.mode", "--json", "--model", fantray}).out);
    EXPECT_EQ(json[0]["value"], 2);
    EXPECT_EQ(json[0]["word"], "manual");
    EXPECT_EQ(run({"set", card.address(), "cooling.dutyCycle=19", "--model", fantray}).status, 4);
}

TEST(ModelOption, AnUnknownWordSuggestsTheNearest) {
    const auto problem = [](const std::string& word) {
        const Ended ended = run({"set", "127.0.0.1:1", "cooling.mode=" + word, "--model", fantray});
        EXPECT_EQ(ended.status, 2);
        return ended.err;
    };
    EXPECT_THAT(problem("manul"), EndsWith("; did you mean manual?\n"));
    EXPECT_THAT(problem("frobnicate"), EndsWith("; or a word: off, automatic, manual\n"));
}

TEST(ModelOption, IsTakenFromTheEnvironmentUnlessItIsGiven) {
    const std::vector<std::string> environment = {"LCMP_MODEL=" + fantray};
    EXPECT_EQ(run({"oid", "-o", "value", "cooling.mode"}, environment).out, "0x05000000\n");
    EXPECT_EQ(run({"oid", "control.bpClkRef"}, environment).status, 7);
    EXPECT_EQ(run({"oid", "-o", "value", "control.bpClkRef", "--model", standard}, environment).out,
              "0x11800002\n");
    EXPECT_EQ(run({"oid", "cooling.mode"}).status, 7);
}

TEST(ModelOption, ABadModelIsStatusSevenWithEveryError) {
    Folder folder;
    const std::string file = folder.write("bad.yaml", "card: x\nfoo: 1\nobjects: 2\n");
    for (const std::vector<std::string>& verb :
         std::vector<std::vector<std::string>>{{"oid", "a.b"},
                                               {"get", "127.0.0.1", "a.b"},
                                               {"set", "127.0.0.1", "a.b=1"},
                                               {"card"},
                                               {"model", "list"}}) {
        std::vector<std::string> arguments = verb;
        arguments.insert(arguments.end(), {"--model", file});
        const Ended ended = run(arguments);
        EXPECT_EQ(ended.status, 7) << verb[0];
        EXPECT_THAT(ended.err, AllOf(HasSubstr(file + ":2:1: "), HasSubstr(file + ":3:10: "),
                                     HasSubstr("lcmp: " + file + " is no card model\n")))
            << verb[0];
    }
}

TEST(ModelOption, HangupLoadsTheModelAgain) {
    Folder folder;
    const std::string file = folder.write("card.yaml", modelWith(brightness));
    ModelCard card({"--model", file});
    EXPECT_EQ(card.get("lamp.brightness", file).out, "50\n");
    folder.write(
        "card.yaml",
        modelWith(brightness + ", {id: 2, name: colour, type: STRING, access: writable, value: red}"));
    card.program().signal(SIGHUP);
    EXPECT_EQ(card.program().errLine(), "lcmp: " + file + " is loaded again");
    EXPECT_EQ(card.get("lamp.colour", file).out, "red\n");
}

TEST(ModelOption, HangupKeepsTheOldModelIfTheNewOneIsBad) {
    Folder folder;
    const std::string file = folder.write("card.yaml", modelWith(brightness));
    ModelCard card({"--model", file});
    EXPECT_EQ(run({"set", card.address(), "lamp.brightness=70", "--model", file}).status, 0);
    const std::string good = folder.write("good.yaml", modelWith(brightness));
    folder.write("card.yaml", modelWith("{id: 1}"));
    card.program().signal(SIGHUP);
    EXPECT_THAT(card.program().errLine(), StartsWith(file + ":3:"));
    std::string line = card.program().errLine();
    while (line.rfind("lcmp: ", 0) != 0)
        line = card.program().errLine();
    EXPECT_EQ(line, "lcmp: " + file + " is no card model; the cards stay as they are");
    EXPECT_EQ(card.get("lamp.brightness", good).out, "70\n");
    card.program().signal(SIGTERM);
    EXPECT_EQ(card.program().finish(), 0);
}

// ---------------------------------------------------------------- many cards, bad cards

TEST(ManyCards, EachHasItsOwnIdentity) {
    Program program({"card", "--listen", "127.0.0.1:0", "--cards", "20", "--period", "0"});
    std::set<std::string> slots;
    std::set<std::string> guids;
    for (int i = 0; i < 20; ++i) {
        const Ended ended =
            run({"get", program.listening(), "-o", "value", "identity.ifcSlot", "control.guid"});
        ASSERT_EQ(ended.status, 0) << ended.err;
        const auto end = ended.out.find('\n');
        slots.insert(ended.out.substr(0, end));
        guids.insert(ended.out.substr(end));
    }
    EXPECT_THAT(slots, SizeIs(20));
    EXPECT_THAT(guids, SizeIs(20));
}

TEST(ManyCards, ListenOnPortsOneAfterAnother) {
    Program program({"card", "--listen", "127.0.0.1:65535", "--cards", "2"});
    EXPECT_EQ(program.finish(), 2);
    EXPECT_THAT(program.err(), HasSubstr("the last of 2 cards would have a port beyond 65535"));
}

TEST(BadCard, MuteSaysNothing) {
    const ModelCard card({"--mute"});
    EXPECT_EQ(run({"get", card.address(), "control.guid", "--timeout", "10", "--retries", "1"}).status, 3);
}

TEST(BadCard, AnswersWithTheErrorThatItIsTold) {
    const ModelCard card({"--answer-error", "12"});
    const Ended ended = run({"get", card.address(), "control.guid"});
    EXPECT_EQ(ended.status, 4);
    EXPECT_THAT(ended.err, HasSubstr("RESULT CANNOT EXEC"));
}

TEST(BadCard, LosesAnswersAndIsAskedAgain) {
    const ModelCard all({"--loss", "100"});
    EXPECT_EQ(run({"get", all.address(), "control.guid", "--timeout", "10", "--retries", "1"}).status, 3);
    const ModelCard some({"--loss", "50", "--seed", "5"});
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(run({"get", some.address(), "control.guid", "--timeout", "20", "--retries", "12"}).status,
                  0);
}

TEST(BadCard, DelayedAnswersComeLate) {
    const ModelCard card({"--delay", "100", "--delay-time", "300ms"});
    EXPECT_EQ(run({"get", card.address(), "control.guid", "--timeout", "20", "--retries", "0"}).status, 3);
    EXPECT_EQ(run({"get", card.address(), "control.guid", "--timeout", "20s", "--retries", "0"}).status, 0);
}

TEST(BadCard, DoubledAnswersDoNoHarm) {
    const ModelCard card({"--duplicate", "100", "--reorder", "50"});
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(run({"get", card.address(), "control.bpClkRef", "temperature[0].name"}).status, 0);
}
