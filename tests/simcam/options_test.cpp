// Command lines, judged without serving them. What a wrong one shows is said once, in
// command_line_test.cpp.

#include "options.h"
#include "process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <sstream>

namespace {

using testing::HasSubstr;
using Words = std::vector<std::string>;

// All that a command line asks for.
std::string textOf(const simcam::Options &options) {
    std::ostringstream text;
    text << "accepted: " << int(options.firstUrl) << options.snapshotFolder.value_or("-") << ' '
         << options.seed << options.isWatched;
    for (const simcam::CameraOptions &camera : options.cameras) {
        const simcam::Identity &identity = camera.identity;
        const simcam::Faults &faults = camera.faults;
        const simcam::Quirks &quirks = camera.quirks;
        for (const std::string &word :
             {identity.serial, identity.vendor, identity.model, camera.description,
              quirks.firstUrl.value_or("-"), quirks.secondUrl.value_or("-")})
            text << ' ' << word;
        for (const uint64_t number :
             {uint64_t(faults.delayTime.count()), uint64_t(faults.pendingTime.count()),
              faults.silentAfter.value_or(0), faults.dieAfter.value_or(0),
              uint64_t{identity.address}, uint64_t{quirks.missing}})
            text << ' ' << number;
        text << quirks.isLittleEndian << faults.isPendingForever << faults.refuseControl;
        for (const simcam::Share &share : {faults.drop, faults.nack, faults.delay, faults.pending,
                                           faults.cut, faults.twice, faults.wrong})
            text << ' ' << share.first << '/' << share.chance << '/' << share.every << '/'
                 << share.at;
        for (const simcam::Setting &setting : camera.settings)
            text << ' ' << setting.feature << '=' << setting.value;
    }
    return text.str();
}

std::string answerTo(const Words &words) {
    std::vector<char *> argv{const_cast<char *>("kxinfo-simcam")};
    for (const std::string &word : words)
        argv.push_back(const_cast<char *>(word.c_str()));
    try {
        const auto options = simcam::parseOptions(int(argv.size()), argv.data());
        return options ? textOf(*options) : "--help is what was asked for.";
    } catch (const simcam::WrongUsage &wrong) {
        return wrong.sentence;
    }
}

std::string answerTo(const std::string &line) {
    std::istringstream words(line);
    return answerTo(Words{std::istream_iterator<std::string>(words), {}});
}

std::string lineOf(const Words &words) {
    std::string line;
    for (const std::string &word : words)
        line += "'" + word + "' ";
    return line;
}

const std::string kGood = "--camera S1@127.0.0.2 ";
const Words kShares{"--drop", "--nack", "--cut", "--double", "--wrong"};

TEST(WrongUsage, OfACameraSaysWhatOneIs) {
    EXPECT_EQ("--camera is 'S1', expected SERIAL@ADDRESS, for example S1234@127.0.0.2.",
              answerTo("--camera S1"));
    for (const std::string serial : {"", "1234567890123456", "a/b", ".."})
        EXPECT_EQ("--camera " + serial + "@127.0.0.2: the serial number is '" + serial +
                      "', expected 1 to 15 letters, digits, '-', '_' or '.' (not '.' at the "
                      "start).",
                  answerTo("--camera " + serial + "@127.0.0.2"));
    for (const std::string address :
         {"localhost", "127.2", "::1", "0.0.0.0", "224.0.0.1", "255.255.255.255"})
        EXPECT_EQ("--camera S1@" + address + ": the address is '" + address +
                      "', expected the IPv4 address of one host, for example 127.0.0.2.",
                  answerTo("--camera S1@" + address));
}

TEST(WrongUsage, OfAFaultSaysWhatItsValueIs) {
    struct Rule {
        Words options, values;
        std::string expected;
    };
    const Rule rules[] = {
        {kShares,
         {"often", "100.1%", "-1%", "1.%", ":5%", "1/0", "2/3", "@0", "@5%", "S1:", "%", "7s",
          "1234567890123456789"},
         "a percentage, a number of commands, each N-th as 1/N or the N-th as @N, for example 5%, "
         "3, 1/3, @17 or S1:5%."},
        {{"--silent-after", "--die-after"},
         {"-1", "S1:1%", ""},
         "a number of commands, for example 100 or S1:100."},
        {{"--delay"},
         {"5%", "5,", "3600001", "forever"},
         "milliseconds up to an hour and, if not all answers are meant, a share of them, for "
         "example 50, 50,5% or S1:50,3."},
        {{"--pending"},
         {"ever", "65536", "forever,"},
         "milliseconds up to 65535, or forever, and, if not all answers are meant, a share of "
         "them, for example 300, 300,5%, forever,1 or S1:300,@3."},
        {{"--no-capability"},
         {"writemem,flight", "writemem,", ""},
         "concatenation, writemem, primary-application or user-defined-name, or several of them, "
         "for example writemem,concatenation or S1:writemem."},
        {{"--set"},
         {"Gain", "S1:=1", "=", ":Gain=1"},
         "FEATURE=VALUE, for example Gain=4.0 or S1:ReverseX=true."},
        {{"--seed"}, {"abc", "-1", ""}, "a number of up to 18 digits, for example 7."},
    };
    for (const Rule &rule : rules) {
        for (const std::string &option : rule.options) {
            for (const std::string &value : rule.values)
                EXPECT_EQ(option + " is '" + value + "', expected " + rule.expected,
                          answerTo(kGood + option + "=" + value));
        }
    }
}

TEST(WrongUsage, IsExplainedInOneSentence) {
    const std::string longest(31, 'n'), url(511, 'u');
    const std::pair<std::string, std::string> lines[] = {
        {"", "no camera to serve, give at least one: --camera SERIAL@ADDRESS."},
        {kGood + "--camera S2@127.0.0.2",
         "--camera S2: camera S1 has this address already, give each camera one of its own."},
        {kGood + "--camera S1@127.0.0.3",
         "--camera S1: another camera has this serial number, give each one of its own."},
        {"--vendor " + longest + "n " + kGood,
         "--vendor is '" + longest +
             "n' (32 bytes), expected 1 to 31: a camera's register holds no more."},
        {"--model= " + kGood,
         "--model is '' (0 bytes), expected 1 to 31: a camera's register holds no more."},
        {"--description= " + kGood, "--description is '', expected a GenICam file, XML or zip."},
        {"--first-url " + url + "u " + kGood,
         "--first-url has 512 bytes, expected at most 511: a camera's register holds no more."},
        {"--second-url " + url + "u " + kGood,
         "--second-url has 512 bytes, expected at most 511: a camera's register holds no more."},
        {kGood + "--pending forever --cut 1",
         "--pending forever: camera S1 never answers, so --cut has no answer to befall, give "
         "--pending a share, for example forever,1."},
        {kGood + "--zip --plain",
         "--zip and --plain exclude each other: one description comes first."},
        {kGood + "--watch=no", "--watch is 'no', expected no value."},
        {kGood + "--port 1", "there is no argument '--port'."},
        {kGood + "--watsh", "there is no argument '--watsh', did you mean --watch?"},
        {kGood + "--Drop=5%", "there is no argument '--Drop', did you mean --drop?"},
        {kGood + "--frist-url x", "there is no argument '--frist-url', did you mean --first-url?"},
        {kGood + "--sead 1", "there is no argument '--sead', did you mean --seed or --set?"},
        {kGood + "S2@127.0.0.3", "there is no argument 'S2@127.0.0.3'."},
        {kGood + "--" + std::string(100'000, 'x'),
         "there is no argument '--" + std::string(100'000, 'x') + "'."},
        {"--camera", "--camera: 1 required SERIAL@ADDRESS missing."},
    };
    for (const auto &[line, sentence] : lines)
        EXPECT_EQ(sentence, answerTo(line));
}

TEST(WrongUsage, IsAnOptionOfACameraThatIsNotThere) {
    for (const std::string option :
         {"--drop S9:1", "--delay S9:5", "--silent-after S9:1", "--refuse-control S9",
          "--little-endian S9", "--no-capability S9:writemem", "--set S9:Gain=1"}) {
        const size_t blank = option.find(' ');
        EXPECT_EQ(option.substr(0, blank) + " is '" + option.substr(blank + 1) +
                      "', but there is no camera S9, expected S1 or S2.",
                  answerTo(kGood + "--camera S2@127.0.0.3 " + option));
    }
}

TEST(WrongUsage, IsAnOptionWhereItHasNoEffect) {
    for (const std::string option :
         {"--vendor", "--model", "--description", "--first-url", "--second-url"}) {
        EXPECT_EQ(option + " holds for the cameras that follow it, and none does, give it before "
                           "--camera.",
                  answerTo(kGood + option + " x"));
        EXPECT_EQ(option + " is given twice before the next --camera, give it once.",
                  answerTo(option + " x " + option + " y " + kGood));
        EXPECT_THAT(answerTo(option + " x " + kGood + option + " y --camera S2@127.0.0.3"),
                    HasSubstr("accepted"));
    }
    for (const std::string option : {"--zip", "--plain", "--seed 7", "--watch", "--snapshot x"})
        EXPECT_EQ(option.substr(0, option.find(' ')) + " is given twice, give it once.",
                  answerTo(kGood + option + " " + option));
    for (const std::string &option : kShares) {
        EXPECT_EQ(option + " is given twice for all cameras, give it once.",
                  answerTo(kGood + option + " 1 " + option + " 2%"));
        EXPECT_EQ(option + " is given twice for camera S1, give it once.",
                  answerTo(kGood + option + " S1:1 " + option + " S1:2"));
        EXPECT_EQ(option + " is given for each camera and for all, give it without a camera or "
                           "with each that is meant.",
                  answerTo(kGood + option + " S1:1 " + option + " 2"));
        EXPECT_THAT(answerTo(kGood + option + " S1:1 " + option + " 2 --camera S2@127.0.0.3"),
                    HasSubstr("accepted"));
    }
    for (const std::string option : {"--refuse-control", "--little-endian"}) {
        EXPECT_EQ(option + " is given for some camera and for all, give it without a camera or "
                           "with each that is meant.",
                  answerTo(kGood + "--camera S2@127.0.0.3 " + option + " S1 " + option));
        EXPECT_EQ(option + " is given twice for camera S1, give it once.",
                  answerTo(kGood + option + " S1 " + option + " S1"));
    }
}

TEST(Cameras, AreServedUpToAMaximum) {
    std::string line;
    for (int i = 0; i < 256; ++i)
        line += "--camera S" + std::to_string(i) + "@127.0.0." + std::to_string(i) + " ";

    EXPECT_THAT(answerTo(line), HasSubstr("accepted"));
    EXPECT_EQ("--camera S1@127.0.1.1: there are 256 already, expected no more, serve others by "
              "another kxinfo-simcam.",
              answerTo(line + "--camera S1@127.0.1.1"));
}

// An option, and values that are good for it; N stands for a number that no other has.
const std::pair<std::string, Words> kOptions[] = {
    {"--camera", {"SN@127.0.0.N"}},
    {"--vendor", {"vN"}},
    {"--model", {"mN"}},
    {"--description", {"dN"}},
    {"--first-url", {"uN"}},
    {"--second-url", {"uN"}},
    {"--plain", {}},
    {"--set", {"S1:FN=1", "FN=1"}},
    {"--drop", {"S1:N", "@N"}},
    {"--nack", {"S2:1/N", "N"}},
    {"--delay", {"S1:N", "N,N"}},
    {"--pending", {"S2:N,@N", "N"}},
    {"--cut", {"S1:N", "N"}},
    {"--double", {"S1:N%", "N"}},
    {"--wrong", {"S2:N", "N"}},
    {"--silent-after", {"S2:N", "N"}},
    {"--die-after", {"S1:N", "N"}},
    {"--no-capability", {"S1:writemem", "concatenation"}},
    {"--refuse-control", {"S1", "S2", ""}},
    {"--little-endian", {"S1", "S2", ""}},
    {"--seed", {"N"}},
    {"--watch", {}},
    {"--snapshot", {"folderN"}},
};

class AnyCommandLine : public testing::Test {
protected:
    std::mt19937 random{20};

    size_t below(size_t limit) { return random() % limit; }

    // An option, with a value that is good for it.
    Words good() {
        const auto &[option, values] = kOptions[below(std::size(kOptions))];
        if (values.empty())
            return {option};
        std::string value = values[below(values.size())];
        for (size_t at; (at = value.find('N')) != std::string::npos;)
            value.replace(at, 1, std::to_string(++number_));
        return {option, value};
    }

private:
    int number_ = 2;
};

// Takes the options of lines that are accepted away, one at a time.
TEST_F(AnyCommandLine, ThatIsAcceptedHasNoOptionWithoutEffect) {
    int accepted = 0;
    for (int i = 0; i < 1500; ++i) {
        std::vector<Words> options{{"--camera", "S1@127.0.0.1"}, {"--camera", "S2@127.0.0.2"}};
        for (size_t count = 1 + below(5); count > 0; --count)
            options.insert(options.begin() + long(below(options.size() + 1)), good());
        const auto without = [&](size_t left) {
            Words words;
            for (size_t j = 0; j < options.size(); ++j) {
                if (j != left)
                    words.insert(words.end(), options[j].begin(), options[j].end());
            }
            return words;
        };
        const std::string answer = answerTo(without(options.size()));
        if (answer.find("accepted") != 0)
            continue;
        ++accepted;
        for (size_t j = 0; j < options.size(); ++j)
            ASSERT_NE(answer, answerTo(without(j)))
                << lineOf(options[j]) << "in " << lineOf(without(options.size()));
    }
    EXPECT_LT(500, accepted);
}

TEST_F(AnyCommandLine, EndsInAnAnswer) {
    const Words junk{"",
                     "-",
                     "--",
                     "=",
                     "--=",
                     "-x",
                     "[a,b]",
                     "[]",
                     "{}",
                     "S1:",
                     ":",
                     "@",
                     "%",
                     "\x1B[2",
                     "\n",
                     "\xFF\xFE",
                     "S9:1",
                     "1e999",
                     "-0x1",
                     "99999999999999999999",
                     "--no-such=1",
                     "S1@127.0.0.1"};
    for (int i = 0; i < 3000; ++i) {
        Words words;
        for (size_t count = below(8); count > 0; --count) {
            Words option = good();
            std::string &word = option[below(option.size())];
            switch (below(8)) {
            case 0:
                word = junk[below(junk.size())];
                break;
            case 1: // cut, or longer
                word = word.substr(0, below(word.size() + 1)) + junk[below(junk.size())];
                break;
            case 2:
                option[0] += "=" + (option.size() > 1 ? option[1] : junk[below(junk.size())]);
                option.resize(1);
                break;
            case 3:
                word.insert(below(word.size() + 1), 1 + below(600), char(1 + below(255)));
                break;
            default:
                break;
            }
            words.insert(words.end(), option.begin(), option.end());
        }
        const std::string answer = answerTo(words);
        if (answer.find("accepted: ") == 0)
            continue;
        ASSERT_THAT(answer, testing::MatchesRegex("(.|\n)*[.?]")) << lineOf(words);
        ASSERT_TRUE(answer.find("--") != std::string::npos ||
                    answer.find("there is no argument '") == 0)
            << answer << "\n"
            << lineOf(words);
    }
}

TEST(Help, AndVersionGoToStandardOutputAndTheManualPageHasTheSameOptions) {
    const Process::End help = runSimcam({"--help"});
    EXPECT_EQ(0, help.status);
    EXPECT_EQ("", help.errors);
    std::string page = readFile(MANUAL_PAGE);
    page.erase(std::remove(page.begin(), page.end(), '\\'), page.end());
    for (const auto &[option, values] : kOptions) {
        EXPECT_THAT(help.output, HasSubstr("\n  " + option));
        EXPECT_THAT(page, HasSubstr(option));
    }

    const Process::End version = runSimcam({"--version"});
    EXPECT_EQ(0, version.status);
    EXPECT_THAT(version.output, testing::MatchesRegex("kxinfo-simcam [0-9.]+\n"));
}

} // namespace
