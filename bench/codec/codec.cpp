// The codec alone: 100 elements with 32-bit values, encoded into a buffer and decoded from it.
//
// "Encode" begins with values in memory and ends with bytes; "decode" the other way round. Each contender
// keeps what it can keep from one time to the next: buffers, messages, elements.
#include <benchmark/benchmark.h>
#include <elements.pb.h>
#include <nano/elements.pb.h>
#include <pb_decode.h>
#include <pb_encode.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "lcmpTlv.h"
#include "servedObjects.h"

namespace {

constexpr std::size_t count = bench::scalarVariables;
constexpr std::size_t elementSize = 11;  // OID 4, type 1, length 2, value 4
constexpr std::uint8_t unsigned32 = 1;

// What an element says, whatever its type: none of it is known when the program is compiled.
struct Value {
    std::uint32_t id;
    std::uint8_t type;
    std::uint16_t length;
    std::uint32_t value;
};

std::vector<Value> values() {
    std::vector<Value> all;
    for (unsigned int number = 0; number < count; ++number)
        all.push_back({bench::scalarOidOf(number), unsigned32, 4, bench::valueOf(number)});
    return all;
}

void countElements(benchmark::State& state) {
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(count));
}

// ---------------------------------------------------------------- by hand

void put16(char* p, std::uint32_t value) {
    p[0] = static_cast<char>(value >> 8);
    p[1] = static_cast<char>(value);
}

void put32(char* p, std::uint32_t value) {
    p[0] = static_cast<char>(value >> 24);
    p[1] = static_cast<char>(value >> 16);
    p[2] = static_cast<char>(value >> 8);
    p[3] = static_cast<char>(value);
}

std::uint32_t take8(const char* p) { return static_cast<unsigned char>(*p); }
std::uint32_t take16(const char* p) { return (take8(p) << 8) | take8(p + 1); }
std::uint32_t take32(const char* p) {
    return (take8(p) << 24) | (take8(p + 1) << 16) | (take8(p + 2) << 8) | take8(p + 3);
}

char* putElement(char* p, const Value& value) {
    put32(p, value.id);
    p[4] = static_cast<char>(value.type);
    put16(p + 5, value.length);
    put32(p + 7, value.value);
    return p + elementSize;
}

std::vector<char> encodedByHand() {
    std::vector<char> buffer(count * elementSize);
    char* p = buffer.data();
    for (const Value& value : values())
        p = putElement(p, value);
    return buffer;
}

void encodeByHand(benchmark::State& state) {
    const std::vector<Value> all = values();
    std::vector<char> buffer(count * elementSize);
    for (auto _ : state) {
        char* p = buffer.data();
        for (const Value& value : all)
            p = putElement(p, value);
        benchmark::DoNotOptimize(p);
        benchmark::ClobberMemory();
    }
    countElements(state);
}

// False at an element that does not fit or is not what it should be.
bool decodeAll(const std::vector<char>& buffer, std::vector<Value>& all) {
    const char* p = buffer.data();
    std::size_t left = buffer.size();
    for (Value& value : all) {
        if (left < 7)
            return false;
        const std::uint32_t type = take8(p + 4);
        const std::uint32_t length = take16(p + 5);
        if (left - 7 < length || type != unsigned32 || length != 4)
            return false;
        value = {take32(p), static_cast<std::uint8_t>(type), static_cast<std::uint16_t>(length),
                 take32(p + 7)};
        p += 7 + length;
        left -= 7 + length;
    }
    return left == 0;
}

void decodeByHand(benchmark::State& state) {
    const std::vector<char> buffer = encodedByHand();
    std::vector<Value> all(count);
    for (auto _ : state) {
        if (!decodeAll(buffer, all))
            state.SkipWithError("not decoded");
        benchmark::ClobberMemory();
    }
    countElements(state);
}

// ---------------------------------------------------------------- LCMPTlv

// Elements that hold their value buffers from now on, and free them.
class Tlvs {
public:
    Tlvs() : m_elements(count) {
        for (unsigned int number = 0; number < count; ++number) {
            m_elements[number].id = bench::scalarOidOf(number);
            m_elements[number].setValue(bench::valueOf(number));
        }
    }

    ~Tlvs() {
        for (LCMPTlv& element : m_elements)
            std::free(element.val);
    }

    Tlvs(const Tlvs&) = delete;
    Tlvs& operator=(const Tlvs&) = delete;

    std::vector<LCMPTlv>& all() { return m_elements; }

private:
    std::vector<LCMPTlv> m_elements;
};

void encodeTlv(benchmark::State& state) {
    Tlvs elements;
    std::vector<char> buffer(count * elementSize);
    for (auto _ : state) {
        char* p = buffer.data();
        for (const LCMPTlv& element : elements.all())
            p += element.serialize(p);
        benchmark::DoNotOptimize(p);
        benchmark::ClobberMemory();
    }
    if (buffer != encodedByHand())
        state.SkipWithError("encoded wrongly");
    countElements(state);
}

void decodeTlv(benchmark::State& state) {
    Tlvs elements;
    const std::vector<char> buffer = encodedByHand();
    for (auto _ : state) {
        const char* p = buffer.data();
        for (LCMPTlv& element : elements.all())
            p += element.deserialize(p);
        benchmark::DoNotOptimize(p);
        benchmark::ClobberMemory();
    }
    countElements(state);
}

// ---------------------------------------------------------------- TypeProperty

void encodeProperty(benchmark::State& state) {
    const auto scalar = bench::makeScalar();
    const std::vector<LcmpProperty*> properties = scalar->getProperties();
    std::vector<char> buffer(count * elementSize);
    for (auto _ : state) {
        char* p = buffer.data();
        char* const end = p + buffer.size();
        for (LcmpProperty* const property : properties)
            p += property->serialize(p, static_cast<int>(end - p));
        benchmark::DoNotOptimize(p);
        benchmark::ClobberMemory();
    }
    if (buffer != encodedByHand())
        state.SkipWithError("encoded wrongly");
    countElements(state);
}

void decodeProperty(benchmark::State& state) {
    const auto scalar = bench::makeScalar();
    const std::vector<LcmpProperty*> properties = scalar->getProperties();
    const std::vector<char> buffer = encodedByHand();
    for (auto _ : state) {
        const char* p = buffer.data();
        for (LcmpProperty* const property : properties)
            p += property->deserialize(p);
        benchmark::DoNotOptimize(p);
        benchmark::ClobberMemory();
    }
    countElements(state);
}

// With the verification that a received write goes through.
void decodeCheckedProperty(benchmark::State& state) {
    const auto scalar = bench::makeScalar();
    const std::vector<LcmpProperty*> properties = scalar->getProperties();
    const std::vector<char> buffer = encodedByHand();
    for (auto _ : state) {
        const char* p = buffer.data();
        for (LcmpProperty* const property : properties) {
            if (property->checkBuffer(p, true) != 0)
                state.SkipWithError("refused");
            p += property->deserialize(p);
        }
        benchmark::DoNotOptimize(p);
        benchmark::ClobberMemory();
    }
    countElements(state);
}

// ---------------------------------------------------------------- protobuf

void fill(bench::wire::Elements& message, const std::vector<Value>& all) {
    message.Clear();
    for (const Value& value : all) {
        bench::wire::Element* const element = message.add_element();
        element->set_id(value.id);
        element->set_unsigned32(value.value);
    }
}

std::string encodedByProtobuf() {
    bench::wire::Elements message;
    fill(message, values());
    return message.SerializeAsString();
}

void encodeProtobuf(benchmark::State& state) {
    const std::vector<Value> all = values();
    bench::wire::Elements message;
    std::vector<char> buffer(encodedByProtobuf().size());
    for (auto _ : state) {
        fill(message, all);
        if (!message.SerializeToArray(buffer.data(), static_cast<int>(buffer.size())))
            state.SkipWithError("not encoded");
        benchmark::ClobberMemory();
    }
    countElements(state);
}

void encodeFilledProtobuf(benchmark::State& state) {
    bench::wire::Elements message;
    fill(message, values());
    std::vector<char> buffer(encodedByProtobuf().size());
    for (auto _ : state) {
        if (!message.SerializeToArray(buffer.data(), static_cast<int>(buffer.size())))
            state.SkipWithError("not encoded");
        benchmark::ClobberMemory();
    }
    countElements(state);
}

void decodeProtobuf(benchmark::State& state) {
    const std::string buffer = encodedByProtobuf();
    bench::wire::Elements message;
    for (auto _ : state) {
        if (!message.ParseFromArray(buffer.data(), static_cast<int>(buffer.size())))
            state.SkipWithError("not decoded");
        benchmark::ClobberMemory();
    }
    if (message.element_size() != static_cast<int>(count))
        state.SkipWithError("decoded wrongly");
    countElements(state);
}

// ---------------------------------------------------------------- nanopb

void encodeNanopb(benchmark::State& state) {
    const std::vector<Value> all = values();
    auto message = std::make_unique<bench_wire_Elements>();
    std::vector<pb_byte_t> buffer(encodedByProtobuf().size());
    for (auto _ : state) {
        message->element_count = 0;
        for (const Value& value : all) {
            bench_wire_Element& element = message->element[message->element_count++];
            element.id = value.id;
            element.which_value = bench_wire_Element_unsigned32_tag;
            element.value.unsigned32 = value.value;
        }
        pb_ostream_t stream = pb_ostream_from_buffer(buffer.data(), buffer.size());
        if (!pb_encode(&stream, bench_wire_Elements_fields, message.get()))
            state.SkipWithError("not encoded");
        benchmark::ClobberMemory();
    }
    countElements(state);
}

void decodeNanopb(benchmark::State& state) {
    const std::string buffer = encodedByProtobuf();
    auto message = std::make_unique<bench_wire_Elements>();
    for (auto _ : state) {
        pb_istream_t stream =
            pb_istream_from_buffer(reinterpret_cast<const pb_byte_t*>(buffer.data()), buffer.size());
        if (!pb_decode(&stream, bench_wire_Elements_fields, message.get()))
            state.SkipWithError("not decoded");
        benchmark::ClobberMemory();
    }
    if (message->element_count != count)
        state.SkipWithError("decoded wrongly");
    countElements(state);
}

BENCHMARK(encodeByHand);
BENCHMARK(encodeTlv);
BENCHMARK(encodeProperty);
BENCHMARK(encodeProtobuf);
BENCHMARK(encodeFilledProtobuf);
BENCHMARK(encodeNanopb);
BENCHMARK(decodeByHand);
BENCHMARK(decodeTlv);
BENCHMARK(decodeProperty);
BENCHMARK(decodeCheckedProperty);
BENCHMARK(decodeProtobuf);
BENCHMARK(decodeNanopb);

}  // namespace
