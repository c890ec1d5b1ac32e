// Bulk scoring and training through the corva executable against Debian's
// bogofilter on the same files and the same split: both train on the same
// good and spam mail, then classify the same 3,021 header files in one
// process each. Wall and child processor time are printed; the machine is
// shared, so processor time is the figure to compare.
//
// No collection of real mail ships with the tree, so the files are generated
// (bench/Corpus.h's vocabulary, headers shaped as a scan reads them), and the
// figures say so.
//   bench_score_bulk [N]   N messages of each kind to train on (2000)
// CORVA_BASELINE=/path/to/an/older/corva times that build too, in the same run
// on the same files; CORVA_BENCH_KEEP=DIR leaves a copy of the files there for
// a profiler. Each program runs CORVA_BENCH_RUNS times (5), turn about with the
// others, and the medians are compared: one run on a busy machine says little.
#include "BenchSupport.h"
#include "Corpus.h"
#include "support/TempDir.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace corva::bench;

namespace {

constexpr int TestFiles = 3021;

std::string header(int i, bool spam, std::mt19937& rng) {
    using corva::bench::corpus_detail::words;
    const std::string n = std::to_string(i);
    const std::string host = (spam ? "bulk" : "mail") + std::to_string(i % 300) + ".example";
    std::string text;
    for (int r = 0; r < 3; ++r)
        text += "Received: from relay" + std::to_string(r) + "." + host + " (" + words(rng, 2) +
                ") by mx.home.example with SMTP id " + n + "; Mon, 3 Jun 2024 10:00:0" +
                std::to_string(r) + " +0000\r\n";
    text += "From: " + words(rng, 2) + " <" + (spam ? "offers" : "colleague") + n + "@" + host +
            ">\r\nTo: reader@home.example\r\nSubject: " +
            (spam ? "free offer price " : "meeting notes ") + words(rng, 4) +
            "\r\nDate: Mon, 3 Jun 2024 10:00:00 +0000\r\nMessage-ID: <" + n + "@" + host +
            ">\r\nX-Mailer: " + words(rng, 1) + "\r\nContent-Type: text/plain\r\n\r\n";
    return text;
}

struct Run {
    double wall = 0, cpu = 0;
    int status = 0;
};

double childCpu() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// Runs argv (no shell, so thousands of file names fit) with standard output
// thrown away, and measures it.
Run timed(const std::vector<std::string>& args) {
    Run r;
    const double cpu = childCpu();
    const auto start = Clock::now();
    const pid_t pid = ::fork();
    if (pid == 0) {
        const int devnull = ::open("/dev/null", O_WRONLY);
        ::dup2(devnull, 1);
        std::vector<char*> argv;
        for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        ::execvp(argv[0], argv.data());
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    r.wall = secondsSince(start);
    r.cpu = childCpu() - cpu;
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

Run sum(const Run& a, const Run& b) {
    return {a.wall + b.wall, a.cpu + b.cpu, a.status ? a.status : b.status};
}

double middle(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    const size_t n = v.size();
    return n == 0 ? 0 : n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

// The runs of one program: median times, and the first failure's status.
struct Runs {
    std::vector<Run> all;
    void add(const Run& r) { all.push_back(r); }
    Run median() const {
        Run m;
        std::vector<double> wall, cpu;
        for (const Run& r : all) {
            wall.push_back(r.wall);
            cpu.push_back(r.cpu);
            if (!m.status) m.status = r.status;
        }
        m.wall = middle(wall);
        m.cpu = middle(cpu);
        return m;
    }
};

} // namespace

int main(int argc, char** argv) {
    const int train = argc > 1 ? std::atoi(argv[1]) : 2000; // messages of each kind
    if (std::system("command -v bogofilter >/dev/null") != 0) {
        std::printf("bogofilter is not installed (scripts/setup.sh installs it)\n");
        return 1;
    }
    corva::test::TempDir dir;
    dir.makeProgramFolder();
    const std::string home = dir.path();
    std::mt19937 rng(2026);
    std::vector<std::string> hamList, spamList, testList;
    for (int i = 0; i < train; ++i) {
        const std::string ham = home + "Messages/Inbox/H" + std::to_string(i) + ".EML";
        const std::string spam = home + "Messages/SpamBayes/S" + std::to_string(i) + ".EML";
        corva::test::writeFile(ham,
                               header(i, false, rng) + corpus_detail::paragraphText(rng, 1500));
        corva::test::writeFile(spam,
                               header(i, true, rng) + corpus_detail::paragraphText(rng, 1500));
        hamList.push_back(ham);
        spamList.push_back(spam);
    }
    for (int i = 0; i < TestFiles; ++i) {
        const std::string file = home + "test/T" + std::to_string(i) + ".eml";
        corva::test::writeFile(file, header(train + i, i % 3 == 0, rng));
        testList.push_back(file);
    }
    corva::test::writeFile(home + "Corva.ini", "DELAY,0\r\n");
    auto with = [](std::vector<std::string> head, const std::vector<std::string>& files) {
        head.insert(head.end(), files.begin(), files.end());
        return head;
    };
    const std::vector<std::string> corva{CORVA_EXE, "--home", home, "--quiet"};
    const std::vector<std::string> bogo{"bogofilter", "-d", home + "bogo"};

    if (const char* keep = std::getenv("CORVA_BENCH_KEEP"))
        std::system(
            ("rm -rf '" + std::string(keep) + "' && cp -r '" + home + "' '" + keep + "'").c_str());
    const char* baseline = std::getenv("CORVA_BASELINE");
    const std::vector<std::string> base{baseline ? baseline : "", "--home", home, "--quiet"};
    const char* runsText = std::getenv("CORVA_BENCH_RUNS");
    const int runs = std::max(1, runsText ? std::atoi(runsText) : 5);
    Runs baseTrains, baseScores, corvaTrains, bogoTrains, corvaScores, bogoScores;
    for (int r = 0; r < runs; ++r) {
        // Each training starts from nothing: bogofilter's adds to what it has.
        std::system(("rm -rf '" + home + "bogo' && mkdir -m 700 '" + home + "bogo'").c_str());
        bogoTrains.add(sum(timed(with(with(bogo, {"-n", "-B"}), hamList)),
                           timed(with(with(bogo, {"-s", "-B"}), spamList))));
        if (baseline) baseTrains.add(timed(with(base, {"train"})));
        corvaTrains.add(timed(with(corva, {"train"})));
    }
    for (int r = 0; r < runs; ++r) {
        if (baseline)
            baseScores.add(timed(with(with(base, {"score", "--headers-only"}), testList)));
        corvaScores.add(timed(with(with(corva, {"score", "--headers-only"}), testList)));
        // -v prints a line per file, as corva does.
        bogoScores.add(timed(with(with(bogo, {"-v", "-B"}), testList)));
    }
    const Run baseTrain = baseTrains.median(), baseScore = baseScores.median();
    const Run corvaTrain = corvaTrains.median(), bogoTrain = bogoTrains.median();
    const Run corvaScore = corvaScores.median(), bogoScore = bogoScores.median();

    const double trained = 2.0 * train;
    auto line = [](const char* what, const Run& r, double count) {
        std::printf("%-22s %8.3f s wall %8.3f s cpu %9.0f msg/s (cpu) exit %d\n", what, r.wall,
                    r.cpu, r.cpu > 0 ? count / r.cpu : 0.0, r.status);
    };
    std::printf("Generated corpus (no real mail on this machine): training on %d good and %d "
                "spam messages, scoring %d header files; medians of %d runs\n",
                train, train, TestFiles, runs);
    if (baseline) {
        line("baseline corva train", baseTrain, trained);
        line("baseline corva score", baseScore, TestFiles);
    }
    line("corva train", corvaTrain, trained);
    line("bogofilter -n/-s -B", bogoTrain, trained);
    line("corva score", corvaScore, TestFiles);
    line("bogofilter -v -B", bogoScore, TestFiles);
    const double scoreRatio = corvaScore.cpu > 0 ? bogoScore.cpu / corvaScore.cpu : 0;
    const double trainRatio = corvaTrain.cpu > 0 ? bogoTrain.cpu / corvaTrain.cpu : 0;
    std::printf("Scoring: corva %.1fx bogofilter's rate (target 3x): %s\n", scoreRatio,
                scoreRatio >= 3 ? "met" : "NOT met");
    std::printf("Training: corva %.1fx bogofilter's rate (target 2x): %s\n", trainRatio,
                trainRatio >= 2 ? "met" : "NOT met");
    return corvaTrain.status == 0 && corvaScore.status == 0 && scoreRatio >= 3 && trainRatio >= 2
               ? 0
               : 1;
}
