// A main loop, as in a GTK program, that goes on while titles are written into many files: in safe
// mode, which flushes each file to the disk.
//
//   player TITLE FILE...
//
// It ends when all files have been edited; the exit code is 1 if one could not be.

#include <glib.h>
#include <tagwriter/fields.h>
#include <tagwriter/tag_writer.h>

#include <iostream>
#include <memory>
#include <string>
#include <vector>

using tagwriter::Edit;
using tagwriter::Outcome;

class Player {
 public:
  Player(const std::string& title, const std::vector<std::string>& files) : files_(files.size()) {
    // What else a window does: it would stand still during a call that blocks.
    g_timeout_add(1, onTick, this);
    for (const std::string& file : files) {
      writer_.writeAsync(file, {Edit::setField(tagwriter::field::kTitle, title)}, {.safe = true},
                         [this, file](const Outcome& outcome) {
                           // On a thread of the library: GLib passes the outcome on to the loop's.
                           g_idle_add_full(G_PRIORITY_DEFAULT, onOutcome,
                                           new Result{*this, file, outcome}, nullptr);
                         });
    }
  }
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  /// Returns whether all files have been written.
  bool run() {
    g_main_loop_run(loop_.get());
    return written_ == files_;
  }

 private:
  struct Result {
    Player& player;
    std::string file;
    Outcome outcome;
  };

  static gboolean onTick(gpointer player) {
    ++static_cast<Player*>(player)->ticks_;
    return G_SOURCE_CONTINUE;
  }

  static gboolean onOutcome(gpointer data) {
    const std::unique_ptr<Result> result(static_cast<Result*>(data));
    result->player.showOutcome(result->file, result->outcome);
    return G_SOURCE_REMOVE;
  }

  void showOutcome(const std::string& file, const Outcome& outcome) {
    if (edited_ == 0) ticksAtFirst_ = ticks_;
    if (outcome) {
      ++written_;
    } else {
      std::cerr << file << ": " << outcome.message() << '\n';
    }
    if (++edited_ < files_) return;
    std::cout << written_
              << " files written; ticks from the first to the last: " << ticks_ - ticksAtFirst_
              << '\n';
    g_main_loop_quit(loop_.get());
  }

  std::unique_ptr<GMainLoop, void (*)(GMainLoop*)> loop_{g_main_loop_new(nullptr, FALSE),
                                                         g_main_loop_unref};
  std::size_t files_;
  std::size_t edited_ = 0;
  std::size_t written_ = 0;
  int ticks_ = 0;
  int ticksAtFirst_ = 0;
  // The last member: it is destroyed first, and no callback comes after that.
  tagwriter::TagWriter writer_;
};

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "usage: player TITLE FILE...\n";
    return 2;
  }
  Player player(argv[1], {argv + 2, argv + argc});
  return player.run() ? 0 : 1;
}
