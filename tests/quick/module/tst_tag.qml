import QtQml 2.15
import QtTest 1.15
import ModbusRtu 1.0

TestCase {
    id: test
    name: "Tag"

    TestLink { id: line }
    Component {
        id: tagComponent
        Tag { link: line }
    }
    Component {
        id: linkComponent
        TestLink { }
    }
    Component {
        id: portlessComponent // keeps what is written for the port that never comes
        Link {
            driver: surroundings.variable("TEST_DRIVER")
            port: "/nowhere/port"
            keepWrites: 300
        }
    }
    SignalSpy {
        id: ends
        signalName: "writeEnded"
    }

    function make(properties) {
        const tag = createTemporaryObject(tagComponent, test, properties)
        verify(tag)
        return tag
    }

    function init() {
        ends.clear()
        surroundings.takeLog()
    }

    function test_formats_data() {
        return [
            { tag: "unsigned", properties: { address: "4x10" }, value: 1234, text: "1234" },
            { tag: "signed", properties: { address: "4x12", format: Tag.Signed }, value: -2, text: "-2" },
            { tag: "scaled", properties: { address: "4x10", scale: 0.5 }, value: 617, text: "617" },
            { tag: "hex", properties: { address: "4x10", format: Tag.Hex }, value: 1234, text: "0x04D2" },
            { tag: "float", properties: { address: "4x_double40", format: Tag.Float }, value: 3.1415927410125732, text: "3.141593" },
            { tag: "text", properties: { address: "4x30", count: 2, format: Tag.Text }, value: "Hell", text: "Hell" },
            { tag: "array", properties: { address: "4x20", count: 3 }, value: [11, 22, 33], text: "11 22 33" },
            { tag: "bit", properties: { address: "1x1" }, value: true, text: "1" },
            { tag: "bit of a register", properties: { address: "4x_bit10.1" }, value: true, text: "1" },
            { tag: "other station", properties: { station: 2, address: "4x1" }, value: 5, text: "5" },
        ]
    }

    function test_formats(data) {
        const tag = make(data.properties)
        tryCompare(tag, "quality", Tag.Good)
        compare(tag.value, data.value)
        compare(tag.text, data.text)
        verify(!tag.stale)
        verify(tag.time.getTime() > 0)
    }

    function test_showsZeroUntilItIsRead() {
        const portless = createTemporaryObject(portlessComponent, test)
        const tag = make({ link: portless, address: "4x50" })
        compare(tag.value, 0)
        verify(tag.stale)
    }

    function test_followsTheSlave() {
        const tag = make({ address: "4x60" })
        tryCompare(tag, "quality", Tag.Good)
        line.plant.poke(1, "4x60", 77)
        tryCompare(tag, "value", 77)
    }

    function test_writes() {
        const tag = make({ address: "4x61", readBack: true })
        tryCompare(tag, "quality", Tag.Good)
        ends.target = tag
        tag.value = 4711
        verify(tag.writing)
        tryCompare(ends, "count", 1)
        compare(ends.signalArguments[0][0], Tag.Acknowledged)
        compare(ends.signalArguments[0][1], "")
        compare(line.plant.peek(1, "4x61"), 4711)
        compare(tag.value, 4711)
        verify(!tag.writing)
        compare(tag.error, "")
    }

    function test_writesArraysTextsAndBits() {
        const array = make({ address: "4x70", count: 2 })
        const text = make({ address: "4x72", count: 2, format: Tag.Text })
        const bit = make({ address: "0x5" })
        array.value = [8, 9]
        text.value = "abc"
        bit.value = true
        tryVerify(function() { return line.plant.peek(1, "0x5") === 1 })
        tryVerify(function() { return line.plant.peek(1, "4x71") === 9 })
        tryVerify(function() { return line.plant.peek(1, "4x73") === 0x6300 })
        compare(line.plant.peek(1, "4x72"), 0x6162)
    }

    function test_everyAssignmentEndsOnce() {
        const tag = make({ address: "4x62", keep: true })
        ends.target = tag
        for (let i = 1; i <= 20; ++i)
            tag.value = i
        tryCompare(ends, "count", 20)
        tryCompare(tag, "value", 20)
        compare(line.plant.peek(1, "4x62"), 20)
    }

    function test_whatCannotBeWrittenIsRejected_data() {
        return [
            { tag: "read-only", properties: { address: "3x1" }, value: 1, error: /read-only/ },
            { tag: "too large", properties: { address: "4x10" }, value: 70000, error: /70000|65535/ },
            { tag: "no number", properties: { address: "4x10" }, value: "abc", error: /takes a number/ },
            { tag: "too few", properties: { address: "4x20", count: 3 }, value: [1], error: /list of 3 numbers/ },
        ]
    }

    function test_whatCannotBeWrittenIsRejected(data) {
        const tag = make(data.properties)
        tryCompare(tag, "quality", Tag.Good)
        ends.target = tag
        tag.value = data.value
        tryCompare(ends, "count", 1)
        compare(ends.signalArguments[0][0], Tag.Rejected)
        verify(data.error.test(tag.error), tag.error)
        const log = surroundings.takeLog()
        compare(log.length, 1)
        verify(/^modbus\.rtu: .*tst_tag\.qml:\d+:\d+: /.test(log[0]), log[0])
    }

    function test_wrongPlacesAreToldWithFileAndLine_data() {
        return [
            { tag: "type", properties: { address: "5x1" }, error: /register type/ },
            { tag: "address", properties: { address: "4xyz" }, error: /not an address/ },
            { tag: "range", properties: { address: "4x70000" }, error: /out of range/ },
            { tag: "station", properties: { station: 248, address: "4x1" }, error: /1 to 247/ },
            { tag: "format", properties: { address: "4x1", format: Tag.Float }, error: /32 bits/ },
            { tag: "scale", properties: { address: "4x1", scale: 0 }, error: /scale/ },
        ]
    }

    function test_wrongPlacesAreToldWithFileAndLine(data) {
        tryCompare(line, "status", Link.Open)
        surroundings.takeLog()
        const tag = make(data.properties)
        tryVerify(function() { return tag.error !== "" })
        verify(data.error.test(tag.error), tag.error)
        const log = surroundings.takeLog()
        compare(log.length, 1)
        verify(/^modbus\.rtu: .*tst_tag\.qml:12:9: QML Tag: /.test(log[0]), log[0])
        tag.station = 1
        tag.scale = 1
        tag.format = Tag.Usual
        tag.address = "4x10"
        tryCompare(tag, "quality", Tag.Good)
        compare(tag.error, "")
    }

    function test_aSilentStationKeepsItsValueAndComesBack() {
        const tag = make({ station: 2, address: "4x3" })
        tryCompare(tag, "quality", Tag.Good)
        line.plant.setStationOn(2, false)
        tryCompare(tag, "quality", Tag.StationSilent)
        compare(tag.value, 5)
        verify(tag.stale)
        line.plant.setStationOn(2, true)
        tryCompare(tag, "quality", Tag.Good)
    }

    function test_aRefusedWriteIsToldAndTakenBack() {
        const tag = make({ address: "4x500" })
        tryCompare(tag, "quality", Tag.Refused)
        compare(tag.exceptionCode, 2)
        ends.target = tag
        tag.value = 1
        tryCompare(ends, "count", 1)
        compare(ends.signalArguments[0][0], Tag.WriteRefused)
        verify(tag.error !== "")
        compare(tag.value, 0)
    }

    function test_aWriteThatIsNotSentIsTakenBackFromAPlaceThatWasNeverRead() {
        const portless = createTemporaryObject(portlessComponent, test)
        tryCompare(portless, "status", Link.Connecting)
        const tag = make({ link: portless, address: "4x10" })
        ends.target = tag
        tag.value = 50
        tryCompare(tag, "value", 50)
        compare(tag.quality, Tag.Unconfirmed)
        tryCompare(ends, "count", 1)
        compare(ends.signalArguments[0][0], Tag.NotSent)
        compare(tag.value, 0)
        verify(tag.stale)
    }

    function test_aWriteThatIsNotSentGivesWayToTheValueThatWasReadBefore() {
        const own = createTemporaryObject(linkComponent, test, { keepWrites: 300 })
        const tag = make({ link: own, address: "4x10" })
        ends.target = tag
        tryCompare(tag, "quality", Tag.Good)
        const time = tag.time.getTime()
        own.port = "/nowhere/port"
        own.plant = null
        tryCompare(own, "status", Link.Connecting)
        tag.value = 50
        tryCompare(tag, "value", 50)
        tryCompare(ends, "count", 1)
        compare(ends.signalArguments[0][0], Tag.NotSent)
        compare(tag.value, 1234)
        compare(tag.quality, Tag.StationSilent)
        verify(tag.time.getTime() >= time)
    }

    function test_anotherLinkIsAnotherPlace() {
        const tag = make({ address: "4x10" })
        tryCompare(tag, "quality", Tag.Good)
        tag.link = createTemporaryObject(portlessComponent, test)
        verify(tag.stale)
        tryCompare(tag, "value", 0)
        verify(tag.stale)
        verify(isNaN(tag.time.getTime()))
        tag.link = line
        tryCompare(tag, "quality", Tag.Good)
        compare(tag.value, 1234)
    }

    function test_withoutItsLinkAValueIsStale_data() {
        return [ { tag: "none" }, { tag: "inactive" } ]
    }

    function test_withoutItsLinkAValueIsStale(data) {
        const tag = make({ address: "4x10" })
        tryCompare(tag, "quality", Tag.Good)
        tag.link = data.tag === "none" ? null : createTemporaryObject(linkComponent, test, { active: false })
        verify(tag.stale)
        tryCompare(tag, "value", 0)
        compare(tag.quality, Tag.NeverRead)
    }

    function test_aWrongPlaceShowsNothingOfTheOneBefore() {
        const tag = make({ address: "4x10" })
        tryCompare(tag, "quality", Tag.Good)
        tag.address = "4xyz"
        tryVerify(function() { return tag.error !== "" })
        compare(tag.value, 0)
        compare(tag.quality, Tag.NeverRead)
        verify(isNaN(tag.time.getTime()))
        tag.address = "4x10"
        tryCompare(tag, "value", 1234)
        tryCompare(tag, "quality", Tag.Good)
    }

    function test_aPlaceThatIsTakenWhileTheLinkIsDownShowsNothingOfTheOneBefore() {
        const own = createTemporaryObject(linkComponent, test)
        const tag = make({ link: own, address: "4x10" })
        tryCompare(tag, "quality", Tag.Good)
        own.active = false
        tryCompare(tag, "quality", Tag.StationSilent)
        compare(tag.value, 1234)
        tag.address = "4x20"
        tryCompare(tag, "value", 0)
        compare(tag.quality, Tag.NeverRead)
        own.active = true
        tryCompare(tag, "value", 11)
    }

    function test_aPlaceThatCannotBeReadHasNoTime() {
        const tag = make({ address: "4x10" })
        tryCompare(tag, "quality", Tag.Good)
        tag.address = "4x500"
        tryCompare(tag, "quality", Tag.Refused)
        compare(tag.value, 0)
        verify(isNaN(tag.time.getTime()))
    }

    function test_valuesSurviveTheScreenThatShowedThem() {
        line.plant.poke(1, "4x80", 99)
        const first = make({ address: "4x80" })
        tryCompare(first, "value", 99)
        const time = first.time
        first.destroy()
        wait(0)
        const second = make({ address: "4x80" })
        compare(second.value, 99)
        compare(second.quality, Tag.Remembered)
        verify(!second.stale)
        tryCompare(second, "quality", Tag.Good)
        verify(second.time >= time)
    }

    function test_withoutALink() {
        const tag = make({ link: null, address: "4x1" })
        ends.target = tag
        tag.value = 1
        verify(tag.writing)
        tryCompare(ends, "count", 1)
        verify(!tag.writing)
        compare(ends.signalArguments[0][0], Tag.Rejected)
        compare(tag.quality, Tag.NeverRead)
    }

    function test_whoTriesAgainWhatIsRejectedDoesNotDoSoInsideItself() {
        const tag = make({ link: null, address: "4x1" })
        let depth = 0
        let deepest = 0
        let tries = 1
        tag.writeEnded.connect(function() {
            deepest = Math.max(deepest, ++depth)
            if (tries < 4) {
                ++tries
                tag.value = tries
            }
            --depth
        })
        tag.value = 1
        tryVerify(function() { return tries === 4 && !tag.writing })
        compare(deepest, 1)
    }
}
