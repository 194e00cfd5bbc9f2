#include "id_repair/batch_repair.h"
#include "id_repair/role_repair.h"
#include "tests/support/merge_fixture.h"
#include "tests/support/wide_text.h"

// Expects to be told at most once per percent, never backwards, and in the end that everything is done.
struct Watcher {
    size_t done = 0, total = 0, percent = 0, calls = 0;
    ProgressObserver observer = [this](size_t nowDone, size_t nowTotal) {
        CHECK(nowDone * 100 / nowTotal > percent);
        done = nowDone, total = nowTotal, percent = done * 100 / total, ++calls;
    };
    ~Watcher() { CHECK((calls > 0 && done == total)); }
};

TEST_CASE("an observer is told once per percent and at the end") {
    for (const size_t total : {size_t{1}, size_t{7}, size_t{100}, size_t{101}, size_t{14'414}}) {
        Watcher watcher;
        Progress progress(watcher.observer, total);
        for (size_t step = 0; step < total; ++step, progress.Step()) CHECK(watcher.done < total);
        CHECK(watcher.calls == std::min<size_t>(total, 100));
    }
}

TEST_CASE("planning counts IDs and a repair counts exactly the statements that it executes") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const MergeFixture zones;
    const OdbcSession session = Connect(zones.B());
    const SQLHDBC connection = session.Connection();
    Watcher roles, guilds, all, one;
    const auto rolePlans = PlanRoleIdBatch(connection, zones.B(), zones.A(), zones.Roles(), roles.observer);
    const auto guildPlans =
        PlanGuildIdBatch(connection, zones.B(), zones.A(), zones.Guilds(), guilds.observer);
    CHECK((roles.total == 3 && guilds.total == 2));
    const Trace trace;
    RepairAllDuplicates(connection, zones.B(), rolePlans, guildPlans, all.observer);
    RepairRoleId(connection, zones.B(), rolePlans[1].newId, L"7", rolePlans[1].fields, one.observer);
    size_t executed = 0;
    for (const std::wstring& event : trace.Events()) executed += event.starts_with(L"execute ");
    CHECK(all.total + one.total == executed);
}

TEST_CASE("an observer that throws is left out and the repair goes on") {
    const MergeFixture zones;
    const BatchPlan plan = zones.Plan();
    int calls = 0;
    const ProgressObserver throwing = [&](size_t, size_t) { throw ++calls; };
    RepairAllDuplicates(Connect(zones.B()).Connection(), zones.B(), plan.roles, plan.guilds, throwing);
    CHECK(calls == 1);
    CHECK((zones.Roles().empty() && zones.Guilds().empty()));
}
