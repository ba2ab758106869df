#pragma once

#include <ostream>

namespace CLI {
class App;
}

namespace mailhost {

// `lumetta calendar status|start|stop`: the calendar application the plug-in keeps its
// to-dos in ("com.apple.iCal", the program lumetta-calendar), seen and started through the
// workspace as the plug-in itself does.
//   status  whether it runs, and the folder of its store (asked of the running
//           application; the default folder when it does not run)
//   start   starts it in the background unless it runs; returns once it answers
//   stop    asks it to quit ('aevt'/'quit') and waits until it is gone
class CalendarCommand {
public:
    explicit CalendarCommand(CLI::App& app);

    // Whether the command line chose one of these commands.
    bool chosen() const;
    // The exit status: 0 done, 1 failed.
    int run(std::ostream& out, std::ostream& err) const;

    static int status(std::ostream& out);
    static int start(std::ostream& out, std::ostream& err);
    static int stop(std::ostream& out, std::ostream& err);

private:
    CLI::App* status_ = nullptr;
    CLI::App* start_ = nullptr;
    CLI::App* stop_ = nullptr;
};

} // namespace mailhost
