#include "core_meeting.hpp"
#include "meeting_pool.hpp"
#include "reply_faults.hpp"

#include <support/temporary_folder.hpp>

#include <tarnix/host/standalone.hpp>

#include <gtest/gtest.h>

#include <iostream>

namespace tarnix::test {
namespace {

TEST(Explore, all)
{
    const host::standalone host;
    host::set_warning_handler([](const resource_core::BaseMsgID&) {});
    const temporary_folder local;
    scripted_server elsewhere("/else");
    struct one { const core_operation* op; std::size_t step; const named_fault* fault; core_meeting met; std::string name; core_meeting base; };
    std::vector<one> all;
    std::size_t n = 0;
    for (const auto& op : core_operations()) {
        const auto base = meet(op, {}, local / std::to_string(n++), elsewhere);
        std::cout << op.name << ": " << base.outcome << " [" << base.url_after << "]";
        for (auto& s : base.steps) std::cout << ' ' << s;
        std::cout << " " << base.folder_elsewhere << std::endl;
        for (std::size_t step = 0; step < base.steps.size(); ++step)
            for (const auto& fault : reply_faults())
                all.push_back({&op, step, &fault, {}, base.steps[step], base});
    }
    const auto begin = std::chrono::steady_clock::now();
    run_meetings(all.size(), [&](std::size_t i) {
        auto& c = all[i];
        misbehaviour how{[&](scripted_server& s) { s.disturbances().disturb(c.step, c.fault->fault); }, c.fault->meant == effect::silence || c.fault->meant == effect::wrong_code};
        const auto b = std::chrono::steady_clock::now();
        std::fprintf(stderr, "begin %zu\n", i);
        c.met = meet(*c.op, how, local / ("m" + std::to_string(i)), elsewhere);
        const auto t = std::chrono::duration<double>(std::chrono::steady_clock::now() - b).count();
        std::fprintf(stderr, "end %zu\n", i);
        timespec ts; clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts); static thread_local double last = 0; const double now = double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
        std::fprintf(stderr, "cpu %.4f %.3f %s | %s\n", now - last, t, c.fault->label.c_str(), c.name.c_str()); last = now;
        if (t > 2.5) std::fprintf(stderr, "slow %.1f %s %zu %s %s\n", t, c.op->name.c_str(), c.step, c.name.c_str(), c.fault->label.c_str());
    });
    std::cout << all.size() << " in " << std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count() << std::endl;
    for (auto& c : all) {
        std::cout << c.op->name << " | " << c.step << ' ' << c.name << " | " << c.fault->label << " | " << (c.met.outcome == c.base.outcome ? "=" : c.met.outcome.substr(0, 200)) << " | " << c.met.duration.count();
        if (c.met.url_after != c.base.url_after) std::cout << " | url " << c.met.url_after;
        for (auto& [k, v] : c.met.options) if (!c.base.options.count(k) || c.base.options[k] != v) std::cout << " | opt " << k << "=" << v;
        if (c.met.folder_elsewhere != "/else") std::cout << " | ELSE " << c.met.folder_elsewhere;
        std::cout << "\n";
    }
}

} // namespace
} // namespace tarnix::test
