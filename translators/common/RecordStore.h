// A store of contacts as plain records: what a plug-in of ours has to write, and all that it has to know. Identifiers and messages are
// UTF-8, values are 16-bit text, fields are numbers of _FieldTypes. What goes wrong is thrown as a StoreError.
#pragma once
#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace mb::plugin {

// A step of the store that can fail, as the result code of the interface.
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

// A text for the user that names the file or record and says what to do.
class StoreError : public std::runtime_error {
public:
    StoreError(Step step, const std::string& text) : std::runtime_error(text), step_(step) {}
    [[nodiscard]] Step step() const { return step_; }

private:
    Step step_;
};

// What a store tells the user of: a record or a part of one that it leaves out, or something that it found and leaves nothing out for.
enum class Finding { LeftOut, Note };
using Report = std::function<void(Finding, const std::string&)>;

// The default of a picture is that the store has none and takes none.
class RecordStore {
public:
    virtual ~RecordStore() = default;

    [[nodiscard]] virtual std::size_t count() const = 0;
    [[nodiscard]] virtual const std::string& idAt(std::size_t index) const = 0; // index below count()
    [[nodiscard]] virtual bool exists(const std::string& id) const = 0;
    // The identifier that a record known as id has now; empty if that is id still, or if there is no such record. The engine asks for all
    // known identifiers before any other question. If an answer is not empty, it asks for all of them once more and takes the second
    // answers, so that a store may need to know all of them to tell.
    [[nodiscard]] virtual std::string updatedId(const std::string&) { return {}; }
    // Nanoseconds since 1970, UTC.
    [[nodiscard]] virtual std::int64_t created(const std::string& id) const = 0;
    [[nodiscard]] virtual std::int64_t modified(const std::string& id) const = 0;

    virtual void beginRead(const std::string& id) = 0;
    // Of the record being read, else of the one being written.
    [[nodiscard]] virtual std::u16string read(const std::string& id, int type) const = 0;
    virtual void endRead(const std::string& id) = 0;

    // Throws where the system tells that the record can be neither changed nor deleted; an empty identifier asks for a new record.
    virtual void expectWritable(const std::string& /*id*/) {}
    virtual void beginBatch() = 0;
    virtual void endBatch(bool abort) = 0;
    virtual std::string beginAdd() = 0;
    virtual void beginEdit(const std::string& id) = 0;
    virtual void write(const std::string& id, int type, std::u16string_view text) = 0;
    virtual std::string save(const std::string& id) = 0; // the identifier that the record has from now on
    virtual void remove(const std::string& id) = 0;
    // What was saved in a batch that was not ended is kept: the engine's history tells of it.
    virtual void close() = 0;

    // A picture of a record that is being read or written: the bytes of a JPEG file, empty for none, and how many they are.
    [[nodiscard]] virtual std::string readImage(const std::string&, int) { return {}; }
    [[nodiscard]] virtual std::uint64_t imageSize(const std::string& id, int type) { return readImage(id, type).size(); }
    virtual void writeImage(const std::string&, int, std::string_view) {}
};

} // namespace mb::plugin
