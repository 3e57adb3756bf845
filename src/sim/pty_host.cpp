#include "sim/pty_host.h"

#include "sim/virtual_charger.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <deque>

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace zun::sim {

namespace {

using Clock = std::chrono::steady_clock;

QString systemError(const char* what) {
    return QStringLiteral("%1: %2").arg(QLatin1String(what),
                                        QString::fromLocal8Bit(strerror(errno)));
}

void closeFd(int& fd) {
    if (fd >= 0) {
        ::close(fd);
        fd = -1;
    }
}

// A reply on its way out: bytes before `written` are on the line; byte i is due at
// start + i byte times, fixed once the reply starts so that pacing does not drift.
struct Outgoing {
    QByteArray bytes;
    int delayMs = 0;
    bool endless = false;
    bool vanish = false;
    std::chrono::nanoseconds byteTime = PtyHost::kByteTime;
    bool started = false;
    Clock::time_point start;
    int written = 0;
};

// When byte i of a reply that starts at `start` is due.
Clock::time_point byteDue(Clock::time_point start, qsizetype i,
                          std::chrono::nanoseconds byteTime = PtyHost::kByteTime) {
    return start + std::chrono::duration_cast<Clock::duration>(i * byteTime);
}

int millisUntil(Clock::time_point t, Clock::time_point now) {
    if (t <= now) {
        return 0;
    }
    const auto us = std::chrono::duration_cast<std::chrono::microseconds>(t - now).count();
    return int((us + 999) / 1000);
}

// What the serving loop knows about the line from one poll to the next.
struct Line {
    std::deque<Outgoing> out;
    Clock::time_point lineFree;
    Clock::time_point lastInput;
    bool vanished = false;
};

// Puts every byte that is due on the line; true when the line's buffer is full and the rest
// has to wait until it drains.
bool writeDue(int master, Line& line, Clock::time_point now, bool paced) {
    while (!line.out.empty()) {
        Outgoing& o = line.out.front();
        if (!o.started) {
            o.started = true;
            o.start = std::max(now, line.lineFree) + std::chrono::milliseconds(o.delayMs);
        }
        int due = 0;
        if (now >= o.start) {
            due = paced ? int(std::min<qint64>(o.bytes.size(), (now - o.start) / o.byteTime + 1))
                        : int(o.bytes.size());
        }
        if (due > o.written) {
            const ssize_t n = ::write(master, o.bytes.constData() + o.written, due - o.written);
            if (n > 0) {
                o.written += int(n);
            }
            if (o.written < due) {
                return true;
            }
        }
        if (o.written < o.bytes.size()) {
            return false;
        }
        if (o.endless) {
            // Keep a little ahead of the line, so that it never runs dry.
            o.bytes.append(EndlessFiller());
            continue;
        }
        line.lineFree = paced ? byteDue(o.start, o.bytes.size(), o.byteTime) : now;
        line.vanished = o.vanish;
        line.out.pop_front();
        if (line.vanished) {
            return false;
        }
    }
    return false;
}

// How long the next poll may sleep before a byte falls due.
int pollTimeout(const Line& line, Clock::time_point now, bool paced, bool blocked) {
    if (blocked) {
        return 10;
    }
    if (line.out.empty()) {
        return 500;
    }
    const Outgoing& o = line.out.front();
    const auto next = paced ? byteDue(o.start, o.written, o.byteTime) : o.start;
    return millisUntil(next, now);
}

// Hands what the tool sent to the charger and queues its replies.
void takeRequest(int master, VirtualCharger& charger, Line& line, Clock::time_point now) {
    char buffer[4096];
    const ssize_t n = ::read(master, buffer, sizeof buffer);
    if (n <= 0) {
        return;
    }
    line.lastInput = now;
    // A new request ends an endless reply.
    while (!line.out.empty() && line.out.back().endless) {
        line.lineFree = now;
        line.out.pop_back();
    }
    for (Reply& r : charger.feed(QByteArray(buffer, int(n)))) {
        Outgoing o;
        o.bytes = std::move(r.bytes);
        o.delayMs = r.firstByteDelayMs;
        o.endless = r.endless;
        o.vanish = r.vanish;
        if (r.byteMs > 0) {
            o.byteTime = std::chrono::milliseconds(r.byteMs);
        }
        line.out.push_back(std::move(o));
    }
}

}  // namespace

PtyHost::PtyHost(VirtualCharger& charger) : charger_(charger) {}

PtyHost::~PtyHost() {
    stop();
}

bool PtyHost::start(QString* error) {
    auto fail = [&](const char* what) {
        if (error) {
            *error = systemError(what);
        }
        closeFd(keptSlave_);
        closeFd(master_);
        closeFd(wake_[0]);
        closeFd(wake_[1]);
        devicePath_.clear();
        return false;
    };
    if (isRunning()) {
        return true;
    }
    master_ = posix_openpt(O_RDWR | O_NOCTTY);
    if (master_ < 0) {
        return fail("posix_openpt");
    }
    if (grantpt(master_) != 0 || unlockpt(master_) != 0) {
        return fail("grantpt/unlockpt");
    }
    char name[128];
    if (ptsname_r(master_, name, sizeof name) != 0) {
        return fail("ptsname");
    }
    fcntl(master_, F_SETFD, FD_CLOEXEC);
    fcntl(master_, F_SETFL, fcntl(master_, F_GETFL) | O_NONBLOCK);

    // Raw 9600 8N1 before anybody else opens the slave. Holding this descriptor for the whole
    // run keeps the master from seeing a hang-up whenever the tool closes its port.
    keptSlave_ = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    if (keptSlave_ < 0) {
        return fail("open slave");
    }
    termios tio{};
    if (tcgetattr(keptSlave_, &tio) != 0) {
        return fail("tcgetattr");
    }
    cfmakeraw(&tio);
    cfsetispeed(&tio, B9600);
    cfsetospeed(&tio, B9600);
    tio.c_cflag &= ~(CSIZE | PARENB | CSTOPB | CRTSCTS);
    tio.c_cflag |= CS8 | CLOCAL | CREAD;
    tio.c_iflag &= ~(IXON | IXOFF | IXANY);
    tio.c_cc[VMIN] = 1;
    tio.c_cc[VTIME] = 0;
    if (tcsetattr(keptSlave_, TCSANOW, &tio) != 0) {
        return fail("tcsetattr");
    }
    if (pipe2(wake_, O_CLOEXEC | O_NONBLOCK) != 0) {
        return fail("pipe");
    }
    devicePath_ = QString::fromLocal8Bit(name);
    stopping_ = false;
    worker_ = std::thread(&PtyHost::run, this);
    return true;
}

void PtyHost::stop() {
    if (worker_.joinable()) {
        stopping_ = true;
        const char c = 1;
        [[maybe_unused]] const auto n = ::write(wake_[1], &c, 1);
        worker_.join();
    }
    closeFd(master_);
    closeFd(keptSlave_);
    closeFd(wake_[0]);
    closeFd(wake_[1]);
    if (!linkPath_.isEmpty()) {
        // Only our own link goes; somebody may have pointed the name elsewhere since.
        if (QFileInfo(linkPath_).symLinkTarget() == devicePath_) {
            QFile::remove(linkPath_);
        }
        linkPath_.clear();
    }
}

void PtyHost::vanish() {
    vanishedLink_ = linkPath_;
    stop();
}

bool PtyHost::comeBack(QString* error) {
    if (!start(error)) {
        return false;
    }
    return vanishedLink_.isEmpty() || createLink(vanishedLink_, error);
}

bool PtyHost::createLink(const QString& path, QString* error) {
    if (devicePath_.isEmpty()) {
        if (error) {
            *error = QStringLiteral("no device yet");
        }
        return false;
    }
    const QFileInfo info(path);
    if (info.isSymLink()) {
        QFile::remove(path);
    } else if (info.exists()) {
        if (error) {
            *error = QStringLiteral("%1 exists and is not a link").arg(path);
        }
        return false;
    }
    if (::symlink(devicePath_.toLocal8Bit().constData(), path.toLocal8Bit().constData()) != 0) {
        if (error) {
            *error = systemError("symlink");
        }
        return false;
    }
    linkPath_ = path;
    return true;
}

void PtyHost::run() {
    Line line;
    line.lineFree = Clock::now();
    line.lastInput = line.lineFree;

    while (!stopping_ && !line.vanished) {
        Clock::time_point now = Clock::now();
        const bool paced = pacing_;
        const bool blocked = writeDue(master_, line, now, paced);
        int timeout = pollTimeout(line, now, paced, blocked);
        if (charger_.hasPartialFrame()) {
            timeout = std::min(timeout, millisUntil(line.lastInput + kResyncSilence, now));
        }

        pollfd fds[2] = {{master_, short(POLLIN | (blocked ? POLLOUT : 0)), 0},
                         {wake_[0], POLLIN, 0}};
        const int ready = ::poll(fds, 2, timeout);
        if (stopping_) {
            break;
        }
        now = Clock::now();
        if (ready > 0 && (fds[0].revents & POLLIN)) {
            takeRequest(master_, charger_, line, now);
        } else if (ready > 0 && (fds[0].revents & (POLLHUP | POLLERR))) {
            // Cannot happen while the kept slave is open; avoid spinning if it does.
            ::poll(nullptr, 0, 10);
        }
        if (charger_.hasPartialFrame() && now - line.lastInput >= kResyncSilence) {
            charger_.resync();
        }
    }
    if (line.vanished) {
        // As an adapter pulled out: both sides go, and the tool's reads fail.
        closeFd(master_);
        closeFd(keptSlave_);
    }
}

}  // namespace zun::sim
