// The channels by which a test tells fake_radio what to do, in place of tuning. All are of the 5 GHz band.
#pragma once

namespace vantrel::testing {

enum FakeRequest {
    Refuse = 100,      // answers "Device or resource busy"
    StaySilent = 101,  // announces that it is tuned, but never answers
    AnswerLate = 102,  // after 300 ms
    Exit = 103,        // ends with exit status 5, without an answer
    Die = 104,         // kills itself, without an answer
    CloseSocket = 105, // and ends 300 ms later
    SayGarbage = 106,  // everything that cannot be read, then the answer
    Flood = 107,       // announces 20,001 changes of the power, then answers; the power is the other at the end
    AnswerMuch = 108,  // answers requests that nobody made, then the right one twice
    Vanish = 109,      // announces that there is no adapter, then answers
    Rename = 110,      // announces another network and access point, then answers
    LeaveHeir = 111,   // ends with exit status 5, but a child of it keeps the socket open for 3 s
    BeginLate = 112,   // and answers; the next monitor mode begins only after 2 s
    BeginBlank = 113,  // and answers; the next monitor mode has a device without a name
    CloseEarly = 114,  // closes its socket, and ends 1.5 s later
};

} // namespace vantrel::testing
