#include "convert_batch.h"

#include "committer.h"
#include "ordered_work.h"

#include <chrono>

namespace zucli {

namespace {

using Clock = std::chrono::steady_clock;

// So long may a finished file wait for others before it gets its name.
constexpr std::chrono::milliseconds kLongestWait{500};
constexpr std::chrono::milliseconds kProgressInterval{100};

// Finished files that get their names together.
class Group {
  public:
    explicit Group(const std::function<void(const ConvertOutcome &)> &tell) : m_tell(tell) {}

    void add(ConvertOutcome outcome) {
        if (m_outcomes.empty()) {
            m_begun = Clock::now();
        }
        m_bytes += outcome.account.output_bytes;
        m_outcomes.push_back(std::move(outcome));
    }

    [[nodiscard]] bool isDue() const {
        return m_outcomes.size() >= m_size || m_bytes >= Committer::kGroupBytes ||
               (!m_outcomes.empty() && Clock::now() - m_begun >= kLongestWait);
    }

    void commit() {
        std::vector<OutputFile *> files;
        std::vector<ConvertOutcome *> owners;
        for (ConvertOutcome &outcome : m_outcomes) {
            outcome.written = outcome.pending != nullptr;
            if (outcome.pending && outcome.pending->isTemporary()) {
                files.push_back(outcome.pending.get());
                owners.push_back(&outcome);
            }
        }
        const auto problems = m_committer.commit(files);
        for (size_t i = 0; i < problems.size(); ++i) {
            finish(*owners[i], problems[i]);
        }
        for (const ConvertOutcome &outcome : m_outcomes) {
            m_tell(outcome);
        }
        m_outcomes.clear();
        m_bytes = 0;
    }

    void end() {
        commit();
        m_committer.finish();
    }

  private:
    static void finish(ConvertOutcome &outcome, const std::optional<CommandError> &problem) {
        if (problem) {
            outcome.written = false;
            outcome.exitCode = problem->exitCode();
            outcome.error = problem->what();
        } else {
            outcome.backup = outcome.pending->backupPath();
        }
        outcome.pending.reset();
    }

    const std::function<void(const ConvertOutcome &)> &m_tell;
    Committer m_committer;
    std::vector<ConvertOutcome> m_outcomes;
    size_t m_size = Committer::groupSize();
    uint64_t m_bytes = 0;
    Clock::time_point m_begun;
};

} // namespace

void convertBatch(const std::vector<PlannedFile> &files, const ConvertSettings &settings, size_t jobs,
                  Progress &progress, const std::function<void(const ConvertOutcome &)> &tell) {
    Group group(tell);
    OrderedWork<ConvertOutcome> work(files.size(), jobs, 2 * Committer::groupSize(), [&] {
        return [&](size_t index) { return convertFile(files[index], settings, progress); };
    });
    while (!work.done()) {
        if (std::optional<ConvertOutcome> outcome = work.next(kProgressInterval)) {
            group.add(std::move(*outcome));
        }
        if (group.isDue()) {
            group.commit();
        }
        progress.update();
    }
    group.end();
}

} // namespace zucli
