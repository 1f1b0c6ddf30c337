// A store of contacts, which is all that a plug-in has to implement. Identifiers and messages are UTF-8, values are UTF-16, fields are
// numbers of _FieldTypes. Methods throw a StoreError on failure.
#pragma once
#include "DetailsText.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace mb::plugin {

// A step of the store that can fail. The value is the result code of the translator's interface.
enum class Step : std::uint32_t {
    Open = 0x80040202,
    Close = 0x80040203,
    Find = 0x80040207,
    BeginRead = 0x80040208,
    ReadField = 0x80040209,
    Add = 0x8004020A,
    Edit = 0x8004020B,
    WriteField = 0x8004020C,
    Save = 0x8004020D,
    Delete = 0x8004020E,
    Update = 0x8004020F,
};

// The text is for the user: it names the file or record and says what to do.
class StoreError : public std::runtime_error {
public:
    StoreError(Step step, const std::string& text) : std::runtime_error(text), step_(step) {}
    [[nodiscard]] Step step() const { return step_; }

private:
    Step step_;
};

// LeftOut: the store leaves out a record or a part of one. Note: the store found something, and leaves nothing out.
enum class Finding { LeftOut, Note };
// Receives what a store reports to the user.
using Report = std::function<void(Finding, const std::string&)>;

// Without an override, a store has no pictures and ignores those that are written.
class RecordStore {
public:
    virtual ~RecordStore() = default;

    [[nodiscard]] virtual std::size_t count() const = 0;
    [[nodiscard]] virtual const std::string& idAt(std::size_t index) const = 0; // requires: index < count()
    [[nodiscard]] virtual bool exists(const std::string& id) const = 0;
    // Returns the new identifier of the record that was known as `id`; empty if it is unchanged or the record does not exist. The engine
    // calls this for all known identifiers before anything else. If an answer is not empty, it calls this for all of them once more and
    // uses the second answers, so an answer may depend on all known identifiers.
    [[nodiscard]] virtual std::string updatedId(const std::string&) { return {}; }
    // Nanoseconds since 1970, UTC. modified() grows with each change of the record; an equal or earlier date is no change to the engine.
    [[nodiscard]] virtual std::int64_t created(const std::string& id) const = 0;
    [[nodiscard]] virtual std::int64_t modified(const std::string& id) const = 0;

    // One record is read at a time, while another one, or the same one, may be written.
    virtual void beginRead(const std::string& id) = 0;
    // Reads a field of the record being read, or else of the record being written.
    [[nodiscard]] virtual std::u16string read(const std::string& id, int type) const = 0;
    virtual void endRead(const std::string& id) = 0;

    // Throws if the record is known to be read-only; with an empty identifier, if no record can be added.
    virtual void expectWritable(const std::string& /*id*/) {}
    virtual void beginBatch() = 0;
    // Writes the batch; `abort` drops what is not written yet. Succeeds if no batch is open.
    virtual void endBatch(bool abort) = 0;
    // Returns an identifier that is valid until save(). An addition or edit that was not saved is dropped, here and in beginEdit().
    virtual std::string beginAdd() = 0;
    virtual void beginEdit(const std::string& id) = 0;
    // Throws unless beginAdd() or beginEdit() named the record. An empty text removes the value.
    virtual void write(const std::string& id, int type, std::u16string_view text) = 0;
    virtual std::string save(const std::string& id) = 0; // returns the identifier of the record from now on
    virtual void remove(const std::string& id) = 0;
    // Commits what was saved in an unfinished batch, because the engine's history already contains it.
    virtual void close() = 0;

    // A picture of the record being read or written, as the bytes of a JPEG file; empty for none.
    [[nodiscard]] virtual std::string readImage(const std::string&, int) { return {}; }
    [[nodiscard]] virtual std::uint64_t imageSize(const std::string& id, int type) { return readImage(id, type).size(); }
    virtual void writeImage(const std::string&, int, std::string_view) {}
    // The details of the record being read or written, as read() returns them, but with whole values; see DetailsBytes.h. Without an
    // override, read() returns whole values.
    [[nodiscard]] virtual std::u16string readWholeDetails(const std::string& id) { return read(id, kDetailsField); }
};

} // namespace mb::plugin
