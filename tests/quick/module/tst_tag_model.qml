import QtQuick 2.15
import QtTest 1.15
import ModbusRtu 1.0

TestCase {
    id: test
    name: "TagModel"

    TestLink { id: line }
    TagModel {
        id: model
        link: line
        Tag { name: "level"; address: "4x10"; unit: "mm" }
        Tag { name: "pump"; address: "0x7" }
    }
    TestLink { id: otherLine }
    Component {
        id: modelComponent
        TagModel {
            Tag { address: "4x10" }
            Tag { address: "4x10"; link: line }
        }
    }
    Component {
        id: tagComponent
        Tag { name: "late"; station: 2; address: "4x2" }
    }
    Repeater {
        id: table
        model: model
        delegate: Item {
            property string line: name + " " + station + " " + address + " " + value + " " + text + unit + " " + quality
            function write(number) { value = number }
        }
    }

    function test_showsTags() {
        compare(model.count, 2)
        tryVerify(function() { return table.itemAt(0).line === "level 1 4x10 1234 1234mm " + Tag.Good })
        compare(model.get(0).name, "level")
    }

    function test_writesByRole() {
        tryVerify(function() { return model.get(1).quality === Tag.Good })
        table.itemAt(1).write(true)
        tryVerify(function() { return line.plant.peek(1, "0x7") === 1 })
        tryVerify(function() { return table.itemAt(1).line === "pump 1 0x7 true 1 " + Tag.Good })
    }

    function test_tagsThatNameNoLinkFollowTheModels() {
        const moving = createTemporaryObject(modelComponent, test, { link: line })
        const late = tagComponent.createObject(test)
        moving.append(late)
        compare(moving.get(0).link, line)
        compare(late.link, line)
        moving.link = otherLine
        compare(moving.get(0).link, otherLine)
        compare(moving.get(1).link, line)
        compare(late.link, otherLine)
        late.link = line
        moving.link = null
        compare(moving.get(0).link, null)
        compare(late.link, line)
        moving.link = otherLine
        compare(moving.get(0).link, otherLine)
        late.destroy()
        tryCompare(moving, "count", 2)
    }

    function test_tagsComeAndGo() {
        const late = tagComponent.createObject(test)
        model.append(late)
        model.append(late)
        compare(model.count, 3)
        tryVerify(function() { return table.itemAt(2).line === "late 2 4x2 5 5 " + Tag.Good })
        late.destroy()
        tryCompare(model, "count", 2)
        compare(table.count, 2)
    }
}
