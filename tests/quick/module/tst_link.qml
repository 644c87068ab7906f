import QtQml 2.15
import QtTest 1.15
import ModbusRtu 1.0

TestCase {
    id: test
    name: "Link"

    Component {
        id: linkComponent
        TestLink { }
    }
    Component {
        id: bareComponent
        Link { driver: surroundings.variable("TEST_DRIVER") }
    }
    Component {
        id: tagComponent
        Tag { }
    }
    Component {
        id: plantComponent
        Plant { }
    }

    function init() {
        surroundings.takeLog()
    }

    function test_opensAndCounts() {
        const line = createTemporaryObject(linkComponent, test)
        const tag = createTemporaryObject(tagComponent, test, { link: line, address: "4x10" })
        tryCompare(line, "status", Link.Open)
        tryCompare(tag, "value", 1234)
        tryVerify(function() { return line.stations.length === 1 && line.statistics.good > 0 })
        compare(line.stations[0].station, 1)
        verify(!line.stations[0].silent)
        verify(line.stations[0].share >= 0 && line.stations[0].share <= 1)
    }

    function test_stopsAndGoesOn() {
        const line = createTemporaryObject(linkComponent, test)
        const tag = createTemporaryObject(tagComponent, test, { link: line, address: "4x10" })
        tryCompare(tag, "quality", Tag.Good)
        line.active = false
        tryCompare(line, "status", Link.Stopped)
        compare(tag.quality, Tag.StationSilent)
        compare(tag.value, 1234)
        line.active = true
        tryCompare(tag, "quality", Tag.Good)
    }

    function test_aSettingStartsItAnewAndValuesSurvive() {
        const line = createTemporaryObject(linkComponent, test)
        const tag = createTemporaryObject(tagComponent, test, { link: line, address: "4x10" })
        tryCompare(tag, "quality", Tag.Good)
        line.maxWords = 60
        line.attempts = 2
        compare(tag.value, 1234)
        tryCompare(line, "status", Link.Open)
        tryCompare(tag, "quality", Tag.Good)
        compare(tag.value, 1234)
        compare(surroundings.takeLog(), [])
    }

    function test_wrongSettingsAreToldWithFileAndLine_data() {
        return [
            { tag: "no port", properties: {}, error: /port is missing/ },
            { tag: "attempts", properties: { port: "/nowhere", attempts: 0 }, error: /attempts/ },
            { tag: "driver", properties: { port: "/nowhere", driver: "/nowhere/driver.so" }, error: /driver/ },
        ]
    }

    function test_wrongSettingsAreToldWithFileAndLine(data) {
        const line = createTemporaryObject(bareComponent, test, data.properties)
        tryCompare(line, "status", Link.Failed)
        verify(data.error.test(line.error), line.error)
        const log = surroundings.takeLog()
        compare(log.length, 1)
        verify(/^modbus\.rtu: .*tst_link\.qml:15:9: QML Link: /.test(log[0]), log[0])
    }

    function test_aPortThatIsNotThereIsTriedAgain() {
        const line = createTemporaryObject(bareComponent, test, { port: "/nowhere/port" })
        tryVerify(function() { return line.error !== "" })
        compare(line.status, Link.Connecting)
        verify(/nowhere\/port/.test(line.error), line.error)
        verify(/^modbus\.rtu: /.test(surroundings.takeLog()[0]))
    }

    function test_aPlantThatCannotBeReadSaysSo() {
        const plant = createTemporaryObject(plantComponent, test, { source: Qt.resolvedUrl("missing.sim") })
        verify(/missing\.sim/.test(plant.error), plant.error)
        compare(plant.device, "")
        plant.source = Qt.resolvedUrl("plant.sim")
        compare(plant.error, "")
        verify(plant.device !== "")
        compare(plant.peek(1, "4x10"), 1234)
        compare(plant.peek(1, "9y10"), 0)
        compare(plant.peek(1, "4x70000"), 0)
    }

    // The end of a write is told when there is no line any more, and what hears it may write.
    function test_whatHearsTheEndOfAWriteMayWriteWhileItStops() {
        const line = createTemporaryObject(linkComponent, test)
        const tag = createTemporaryObject(tagComponent, test, { link: line, address: "4x10" })
        tryCompare(tag, "quality", Tag.Good)
        const ends = []
        tag.writeEnded.connect(function(end, text) {
            ends.push([end, text])
            if (ends.length === 1)
                tag.value = 6
        })
        line.active = false
        tag.value = 5
        tryCompare(line, "status", Link.Stopped)
        tryVerify(function() { return ends.length === 2 })
        compare(ends[1], [Tag.Rejected, "the tag cannot be written: its link is not active"])
    }

    function test_goesWhileTagsStay() {
        const line = createTemporaryObject(linkComponent, test)
        const tag = createTemporaryObject(tagComponent, test, { link: line, address: "4x10" })
        tryCompare(tag, "quality", Tag.Good)
        line.destroy()
        tryVerify(function() { return tag.link === null })
        compare(tag.value, 1234)
        tag.value = 1
        compare(surroundings.takeLog().length, 1)
    }

    function test_tagsThatComeAndGoLeaveTheOthersAlone() {
        const line = createTemporaryObject(linkComponent, test)
        const last = createTemporaryObject(tagComponent, test, { link: line, station: 2, address: "4x20" })
        for (let i = 1; i <= 90; ++i) {
            const tag = tagComponent.createObject(test, { link: line, address: "4x" + i })
            wait(i % 10 === 0 ? 1 : 0)
            tag.destroy()
        }
        tryCompare(last, "quality", Tag.Good)
        compare(last.value, 5)
    }
}
