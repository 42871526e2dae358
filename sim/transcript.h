// What the simulator prints: every event of a run, either as one JSON object
// a line or as a transcript for people.
#ifndef DOORLOCK_SIM_TRANSCRIPT_H
#define DOORLOCK_SIM_TRANSCRIPT_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace dlsim {

class Transcript {
  public:
    virtual ~Transcript() = default;

    // An event of the emulated host SDK, as the JSON object text it emits.
    virtual void Host(const std::string &json) = 0;
    // An entry point returned; `ret` is null for the one without a result.
    virtual void Call(const char *fn, const int *ret) = 0;
    // The lock's Recv_Msg returned: the record as the module handed it and as
    // the lock left it (outputs written), both `len` bytes.
    virtual void RecvMsg(int type, const uint8_t *handed, const uint8_t *after, uint32_t len,
                         int ret) = 0;
    // The lock's Get_Runtime_Info returned with the buffer as it filled it.
    virtual void GetInfo(int type, const uint8_t *filled, uint32_t len, int ret) = 0;

    // Context for people; the JSON transcript ignores these.
    virtual void Step(const std::string & /*where*/, const std::string & /*text*/) {}
    virtual void Note(const std::string & /*text*/) {}
    virtual void Request(int /*cmd*/, uint32_t /*seq*/, const std::string & /*body*/) {}
    virtual void Delivered(int /*ret*/) {}
    virtual void PollBegin() {}
    virtual void PollEnd() {}
    virtual void Finish() {}
};

std::unique_ptr<Transcript> MakeJsonTranscript(FILE *out);
std::unique_ptr<Transcript> MakeHumanTranscript(FILE *out, bool colour);

// Lower-case hex of the bytes, two digits each, no separators.
std::string HexText(const uint8_t *data, size_t len);
// The XML text indented two blanks a level, or the text unchanged when it
// does not parse.
std::string PrettyXml(const std::string &text);

}  // namespace dlsim

#endif
