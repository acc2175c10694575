// A window that stays alive while titles are written into many files: in safe mode, which flushes
// each file to the disk.
//
//   player TITLE FILE...
//
// It closes when all files have been edited; the exit code is 1 if one could not be. Closed before,
// it cancels the rest.

#include <tagwriter/fields.h>
#include <tagwriter/tag_writer.h>

#include <QApplication>
#include <QLabel>
#include <QProgressBar>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>
#include <iostream>
#include <string>
#include <vector>

using tagwriter::Edit;
using tagwriter::Outcome;

class Player : public QWidget {
 public:
  Player(const std::string& title, const std::vector<std::string>& files) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(animation_ = new QLabel("0"));
    layout->addWidget(progress_ = new QProgressBar);
    progress_->setRange(0, static_cast<int>(files.size()));
    progress_->setValue(0);
    // What else moves in the window: it would stand still during a call that blocks.
    timer_.callOnTimeout([this] { animation_->setNum(++ticks_); });
    timer_.start(1);

    for (const std::string& file : files) {
      writer_.writeAsync(file, {Edit::setField(tagwriter::field::kTitle, title)}, {.safe = true},
                         [this, file](const Outcome& outcome) {
                           // On a thread of the library: Qt passes the outcome on to the window's.
                           const auto show = [=, this] { showOutcome(file, outcome); };
                           QMetaObject::invokeMethod(this, show, Qt::QueuedConnection);
                         });
    }
  }

  bool allWritten() const { return written_ == progress_->maximum(); }

 private:
  void showOutcome(const std::string& file, const Outcome& outcome) {
    if (progress_->value() == 0) ticksAtFirst_ = ticks_;
    progress_->setValue(progress_->value() + 1);
    if (outcome) {
      ++written_;
    } else {
      std::cerr << file << ": " << outcome.message() << '\n';
    }
    if (progress_->value() < progress_->maximum()) return;
    std::cout << written_
              << " files written; ticks from the first to the last: " << ticks_ - ticksAtFirst_
              << '\n';
    close();
  }

  QLabel* animation_;
  QProgressBar* progress_;
  QTimer timer_;
  int ticks_ = 0;
  int ticksAtFirst_ = 0;
  int written_ = 0;
  // The last member: it is destroyed first, and no callback comes after that.
  tagwriter::TagWriter writer_;
};

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  if (argc < 3) {
    std::cerr << "usage: player TITLE FILE...\n";
    return 2;
  }
  Player player(argv[1], {argv + 2, argv + argc});
  player.show();
  QApplication::exec();
  return player.allWritten() ? 0 : 1;
}
