// What a configuration says, and what is said about a wrong one.
#include "gateway/GatewayConfig.h"

#include "gateway/modBrokerHosts.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace {

constexpr char kWhole[] = "; a comment\r\n"
                          "[Gateway]\r\nname = Plant 1\r\nFolder=/data\r\nJournalSize=100\r\nJournalDays=7\r\n"
                          "Allow=start, Stop,write\r\n"
                          "[BROKER]\nHost=mq.example\nTLS=yes\nCA=/ca.pem\nCertificate=/c.pem\nKey=/k.pem\nUser=u\n"
                          "PasswordFile=/p\nClientId=id\nPrefix=a/b\nFormat=JSON\nBatchTime=250\nBatchValues=20\n"
                          "[SENSOR Silo ä]\nPort=/dev/ttyUSB0\nRate=38400\nMeasure=no\nTemperature=60\nRecord=no\n"
                          "Every=0.5\n"
                          "[sensor Crane]\nPort=tcp://crane:4001";

TEST(GatewayConfigs, SayWhatTheyAreMeantToSay)
{
    const ReadGatewayConfig read = ParseGatewayConfig(kWhole);
    for (const ConfigProblem& problem : read.problems) {
        ADD_FAILURE() << problem.line << ": " << problem.text;
    }
    GatewayConfig wanted;
    wanted.name = "Plant 1";
    wanted.folder = "/data";
    wanted.journal_MiB = 100;
    wanted.journal_days = 7;
    wanted.allowed = {CommandKind::Start, CommandKind::Stop, CommandKind::Write};
    wanted.broker.host = "mq.example";
    wanted.broker.port = 8883; // that of TLS
    wanted.broker.usesTls = true;
    wanted.broker.ca = "/ca.pem";
    wanted.broker.certificate = "/c.pem";
    wanted.broker.key = "/k.pem";
    wanted.broker.user = "u";
    wanted.broker.passwordFile = "/p";
    wanted.broker.clientId = "id";
    wanted.broker.prefix = "a/b";
    wanted.broker.batch_ms = 250;
    wanted.broker.batchValues = 20;
    wanted.sensors.resize(2);
    wanted.sensors[0] = {.name = "Silo ä",
                         .port = "/dev/ttyUSB0",
                         .rate = 38400,
                         .measures = false,
                         .temperature_s = 60,
                         .records = false,
                         .every_ms = 500};
    wanted.sensors[1].name = "Crane";
    wanted.sensors[1].port = "tcp://crane:4001";
    EXPECT_TRUE(read.config == wanted);
    EXPECT_EQ(read.files.size(), 4u);
}

/// The problems as "line: text".
std::string problemsOf(const ReadGatewayConfig& read)
{
    std::string all;
    for (const ConfigProblem& problem : read.problems) {
        all += std::to_string(problem.line) + ": " + problem.text + "\n";
    }
    return all;
}

TEST(GatewayConfigs, ProblemsAreNamedByTheirLines)
{
    constexpr char kSensor[] = "[SENSOR a]\nPort=1\n";
    const struct {
        std::string text;
        const char* problem; ///< the head of the only one
    } kRows[] = {
        {"[SENSR a]\nPort=1\n[SENSOR b]\nPort=2", "1: there is no section [SENSR a]"},
        {std::string(kSensor) + "Baud=9600\n", "3: there is no key \"Baud\""},
        {std::string(kSensor) + "port=2\n", "3: the key \"port\" is there twice; see line 2"},
        {std::string(kSensor) + "[sensor A]\nPort=2", "3: the section [sensor A] is there twice; it begins in line 1"},
        {std::string(kSensor) + "[SENSOR b]\nPort=ttyS0", "4: the sensor \"a\" has this port already"},
        {std::string(kSensor) + "[SENSOR b/c]\nPort=2", "3: \"b/c\" cannot be the name of a sensor"},
        {std::string(kSensor) + "[SENSOR]\nPort=2", "3: a sensor needs a name"},
        {std::string(kSensor) + "[SENSOR b]\nRate=9600", "3: the sensor has no Port"},
        {"[SENSOR a]\nPort=256", "2: Port takes a number from 1 to 255"},
        {"[SENSOR a]\nPort=tcp://x", "2: Port: \"tcp://x\" is not the address of a line"},
        {std::string(kSensor) + "Rate=9601", "3: Rate takes 1200, 2400"},
        {std::string(kSensor) + "Measure=on", "3: Measure takes yes or no, not \"on\""},
        {std::string(kSensor) + "Temperature=14", "3: Temperature takes 0 or a number from 15"},
        {std::string(kSensor) + "Every=0", "3: Every takes seconds from 0.001"},
        {std::string(kSensor) + "Every=nan", "3: Every takes seconds"},
        {std::string(kSensor) + "what is this", "3: \"what is this\" is no section"},
        {"Name=x\n" + std::string(kSensor), "1: the key \"Name\" stands before the first section"},
        {std::string(kSensor) + "[GATEWAY]\nFolder=data", "4: Folder takes a path that begins with /"},
        {std::string(kSensor) + "[GATEWAY]\nJournalSize=6", "4: JournalSize is to be 7 at least for these sensors"},
        {"[SENSOR a]\nPort=-1", "2: Port takes a number from 1, not \"-1\""},
        {"[SENSOR a]\nPort=1\nRate=" + std::string(70000, '9'), "3: Rate takes 1200, 2400, 4800, 9600, 19200"},
        {std::string(kSensor) + "[GATEWAY]\nJournalSize=0", "4: JournalSize takes a number from 1"},
        {std::string(kSensor) + "[GATEWAY]\nAllow=start,all", "4: Allow takes a list of"},
        {std::string(kSensor) + "[GATEWAY]\nName=a\x01"
                                "b",
         "4: the value of \"Name\" has a control character"},
        {std::string(kSensor) + "[BROKER]\nPort=65536", "4: Port takes a number from 1 to 65535"},
        {std::string(kSensor) + "[BROKER]\nHost=mq", "4: values would go to another machine"},
        {std::string(kSensor) + "[BROKER]\nHost=127.example.org", "4: values would go to another machine"},
        {std::string(kSensor) + "[BROKER]\nHost=localhost:1,mq:2", "4: values would go to another machine"},
        {std::string(kSensor) + "[BROKER]\nHost=127.0.0.1:99999", "4: Host takes names or addresses"},
        {std::string(kSensor) + "[BROKER]\nHost=localhost,, mq", "4: Host takes names"},
        {std::string(kSensor) + "[BROKER]\nHost=localhost:", "4: Host takes names"},
        {std::string(kSensor) + "[BROKER]\nHost=[::1", "4: Host takes names"},
        {std::string(kSensor) + "[BROKER]\nHost=[localhost]:1", "4: Host takes names"},
        {std::string(kSensor) + "[BROKER]\nHost=tcp://mq", "4: Host takes names"},
        {std::string(kSensor) + "[BROKER]\nCA=/ca", "4: CA is for TLS=yes only"},
        {std::string(kSensor) + "[BROKER]\nTLS=yes\nKey=/k", "5: Certificate and Key belong together"},
        {std::string(kSensor) + "[BROKER]\nPasswordFile=/p", "4: a password needs a User"},
        {std::string(kSensor) + "[BROKER]\nPrefix=a/#", "4: Prefix takes the first levels"},
        {std::string(kSensor) + "[BROKER]\nPrefix=a/b\nFormat=sparkplug", "4: with Format=sparkplug the Prefix"},
        {"[GATEWAY]\nName=x", "0: there is no sensor"},
        {"\xFF\xFE[\0", "0: this is no text file"},
    };
    for (const auto& row : kRows) {
        const ReadGatewayConfig read = ParseGatewayConfig(row.text);
        EXPECT_EQ(read.problems.size(), 1u) << row.text << "\n" << problemsOf(read);
        EXPECT_TRUE(problemsOf(read).starts_with(row.problem)) << row.problem << "\n" << problemsOf(read);
        EXPECT_LT(problemsOf(read).size(), 300u) << row.problem;
    }
    for (const char* fine : {"Host=localhost", "Host=[::1]:1884, 127.0.0.1:1883", "Host=mq\nPlain=yes"}) {
        EXPECT_EQ(problemsOf(ParseGatewayConfig(std::string(kSensor) + "[BROKER]\n" + fine)), "") << fine;
    }
}

TEST(GatewayConfigs, HostsAreReadWithTheirPorts)
{
    const auto hosts = modBrokerHosts::Read("mq-1.plant:1884, ::1 ,[fe80::1%eth0],[::1]:1885,10.0.0.1", 1883);
    EXPECT_EQ(hosts,
              (std::vector<BrokerHost>{
                  {"mq-1.plant", 1884}, {"::1", 1883}, {"fe80::1%eth0", 1883}, {"::1", 1885}, {"10.0.0.1", 1883}}));
}

TEST(GatewayConfigs, TheSampleWantsAPortAndNothingElse)
{
    std::string sample = TemporaryFolder::Read(ORVEX_SOURCE_DIR "/packaging/gateway.ini");
    const std::string before = problemsOf(ParseGatewayConfig(sample));
    EXPECT_TRUE(before.ends_with(": Port takes a number, a device, a stable name or an address\n")) << before;
    EXPECT_EQ(std::ranges::count(before, '\n'), 1);
    sample.replace(sample.find("\nPort=") + 1, 5, "Port=1");
    EXPECT_EQ(problemsOf(ParseGatewayConfig(sample)), "");
    std::size_t keys = 0;
    for (std::size_t at = 0; (at = sample.find("\n;", at)) != sample.npos; ++keys) { // what is shown as a comment, too
        sample.erase(at + 1, sample[at + 2] == ' ' ? 0 : 1);
        ++at;
    }
    const std::string all = problemsOf(ParseGatewayConfig(sample));
    EXPECT_EQ(all, "") << "with every key";
    EXPECT_GT(keys, 10u);
}

TEST(GatewayConfigs, WhatIsThereAlreadyMustBeOfTheRightKind)
{
    const TemporaryFolder folder;
    const std::string text = folder.Write("text", "root:x:0:0\n").string();
    const std::string pem = folder.Write("pem", "-----BEGIN CERTIFICATE-----\n").string();
    const struct {
        std::string config;
        const char* problem;
    } kRows[] = {
        {"[SENSOR a]\nPort=1\n[BROKER]\nTLS=yes\nCA=" + text, ": this is no PEM file\n"},
        {"[SENSOR a]\nPort=1\n[BROKER]\nTLS=yes\nCA=" + pem, ""},
        {"[SENSOR a]\nPort=1\n[GATEWAY]\nFolder=/dev/null\n", "4: Folder \"/dev/null\": this is no folder\n"},
        {"[SENSOR a]\nPort=" + text, " of the sensor \"a\" is no device\n"},
        {"[SENSOR a]\nPort=/\n", "2: Port \"/\" of the sensor \"a\" is no device\n"},
        {"[SENSOR a]\nPort=/dev/null\n[SENSOR b]\nPort=/not/there/yet\n", ""},
    };
    for (const auto& row : kRows) {
        const std::string problems = problemsOf(LoadGatewayConfig(folder.Write("gateway.ini", row.config)));
        EXPECT_TRUE(problems.ends_with(row.problem) && problems.empty() == (*row.problem == '\0')) << row.config << "\n"
                                                                                                   << problems;
    }
}

TEST(GatewayConfigs, SecretsAreForTheServiceAlone)
{
    const TemporaryFolder folder;
    const auto password = folder.Write("password", "secret\n");
    const auto file =
        folder.Write("gateway.ini", "[BROKER]\nUser=u\nPasswordFile=" + password.string() + "\n[SENSOR a]\nPort=1\n");
    const auto problems = [&](std::filesystem::perms perms) {
        std::filesystem::permissions(password, perms);
        return problemsOf(LoadGatewayConfig(file));
    };
    using std::filesystem::perms;
    EXPECT_EQ(problems(perms(0640)), "");
    EXPECT_TRUE(problems(perms(0644)).ends_with(": other users may read or change it; chmod o= helps\n"));
    EXPECT_TRUE(problems(perms(0644)).starts_with("3: PasswordFile "));
    std::filesystem::remove(password);
    EXPECT_TRUE(problemsOf(LoadGatewayConfig(file)).ends_with(": No such file or directory\n"));
    EXPECT_TRUE(problemsOf(LoadGatewayConfig(folder.path / "none")).starts_with("0: the file cannot be read"));
}

} // namespace
