import QtQuick 2.15
import QtTest 1.15
import ModbusRtu 1.0

// The example panel, used as people use it.
Item {
    id: root
    width: 800
    height: 480

    Loader {
        id: loader
        anchors.fill: parent
        focus: true
        Component.onCompleted: setSource("file://" + panelFolder + "/Panel.qml", {
            driver: surroundings.variable("TEST_DRIVER"),
            simulation: "file://" + panelFolder + "/../../host/demo/plant.sim",
            recipeFile: "file://" + surroundings.temporaryFile("recipe.json"),
        })
    }

    TestCase {
        id: test
        name: "Panel"
        when: windowShown
        readonly property Item panel: loader.item

        function find(name) {
            let item = null
            tryVerify(function() { item = findChild(panel, name); return item !== null && item.width > 0 }, 10000, name)
            return item
        }
        function tap(name) {
            const item = find(name)
            tryVerify(function() { return item.enabled }, 10000, name)
            mouseClick(item)
        }
        function held(station, address) {
            return function(value) {
                return function() { return panel.plant.peek(station, address) === value }
            }
        }

        function initTestCase() {
            verify(panel)
            surroundings.takeLog()
            tryCompare(panel.link, "status", Link.Open)
        }

        function test_1_everyPageOpensAndShowsValues() {
            for (const title of ["Control", "Alarms", "Recipe", "Line", "Overview"]) {
                tap("page " + title)
                compare(panel.titles[panel.page], title)
                waitForRendering(panel)
            }
            tap("page Control")
            const tile = find("entry Set point")
            tryVerify(function() { return tile.tag.quality === Tag.Good }, 10000)
            compare(tile.tag.text, "500")
        }

        function test_2_typedNumbersReachTheSlave() {
            tap("page Control")
            tap("entry Set point")
            for (const key of ["7", "3", "5"])
                keyClick(key)
            keyClick(Qt.Key_Return)
            verify(!find("keypad").visible)
            tryVerify(held(1, "4x101")(735), 10000)
        }

        function test_3_tappedNumbersKeepToTheirLimits() {
            tap("page Control")
            tap("entry Slow speed")
            for (const key of ["2", "0", "0", "0"])
                tap("key" + key)
            verify(!find("keyOK").enabled)
            keyClick(Qt.Key_Return)
            verify(find("keypad").visible)
            tap("key⌫")
            tap("keyOK")
            tryVerify(held(2, "4x30")(200), 10000)
            compare(panel.plant.peek(1, "4x101"), 735)
        }

        function test_4_switchesSwitch() {
            tap("page Control")
            tryVerify(function() { return find("switch Pump").tag.quality === Tag.Good }, 10000)
            compare(panel.plant.peek(1, "0x1"), 0)
            tap("switch Pump")
            tryVerify(held(1, "0x1")(1), 10000)
            tryVerify(function() { return find("switch Pump").tag.value === true && !find("switch Pump").tag.writing }, 10000)
            tap("switch Pump")
            tryVerify(held(1, "0x1")(0), 10000)
        }

        function test_5_aRecipeIsEditedLoadedComparedAndKept() {
            tap("page Recipe")
            tap("Read slaves")
            const recipe = panel.shown.recipe
            tryCompare(recipe, "outcome", Recipe.Complete, 10000)
            compare(recipe.rows[1].value, 22)
            tap("Save file")
            tap("recipe Syrup")
            keyClick("4")
            keyClick("4")
            keyClick(Qt.Key_Enter)
            compare(recipe.rows[1].value, 44)
            tap("Compare")
            tryCompare(recipe, "outcome", Recipe.Incomplete, 10000)
            compare(recipe.rows[1].outcome, RecipeRow.Differs)
            tap("Load slaves")
            tryVerify(held(1, "4x131")(44), 10000)
            tryCompare(recipe, "outcome", Recipe.Complete, 10000)
            tap("Open file")
            compare(recipe.rows[1].value, 22)
        }

        function test_6_aDeadStationIsSeenAndComesBack() {
            tap("page Line")
            tap("power 2")
            verify(!panel.plant.stationIsOn(2))
            tap("page Control")
            const tile = find("entry Fast speed")
            tryVerify(function() { return tile.tag.quality === Tag.StationSilent && tile.stale }, 30000)
            verify(!find("entry Set point").stale)
            tap("page Alarms")
            tryVerify(function() { return find("alarm Conveyor does not answer").visible }, 30000)
            verify(panel.alarmCount > 0)
            tap("page Line")
            tap("power 2")
            verify(panel.plant.stationIsOn(2))
            tap("page Control")
            const again = find("entry Fast speed")
            tryVerify(function() { return again.tag.quality === Tag.Good }, 30000)
            tap("page Alarms")
            tryVerify(function() { return !panel.silent(2) }, 30000)
            tap("acknowledge")
            tryVerify(function() { return findChild(panel, "alarm Conveyor does not answer") === null }, 10000)
        }

        function test_7_nothingWasWarnedOf() {
            compare(surroundings.takeLog(), [])
        }
    }
}
