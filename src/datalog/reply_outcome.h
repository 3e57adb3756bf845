#pragma once

namespace zun::datalog {

// What a read button does with its text box after a reply.
enum class ReplyOutcome {
    Clear,           // no reply: the box is emptied
    Show,            // the decoded text replaces the box's text
    LeaveUnchanged,  // a reply too short or unreadable: the box keeps what it shows
};

}  // namespace zun::datalog
