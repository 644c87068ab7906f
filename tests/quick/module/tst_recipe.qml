import QtQml 2.15
import QtTest 1.15
import ModbusRtu 1.0

TestCase {
    id: test
    name: "Recipe"

    TestLink { id: line }
    Recipe {
        id: recipe
        link: line
        RecipeRow { name: "mix"; address: "4x20"; count: 3; value: [1, 2, 3] }
        RecipeRow { name: "speed"; station: 2; address: "4x7"; value: 700 }
    }
    Recipe {
        id: holed
        link: line
        RecipeRow { name: "there"; address: "4x1"; value: 1 }
        RecipeRow { name: "hole"; address: "4x900"; value: 1 }
    }
    Recipe {
        id: wrong
        link: line
        RecipeRow { name: "input"; address: "3x1"; value: 1 }
    }
    Recipe {
        id: nameless
        RecipeRow { name: "named"; address: "4x1"; value: 1 }
        RecipeRow { address: "4x2"; value: 2 }
    }
    Recipe {
        id: twice
        RecipeRow { name: "same"; address: "4x1"; value: 1 }
        RecipeRow { name: "same"; address: "4x2"; value: 2 }
    }
    Recipe {
        id: list
        RecipeRow { name: "values"; address: "4x1"; value: 5 }
    }
    SignalSpy {
        id: finished
        signalName: "finished"
    }

    function run(which, action) {
        finished.clear()
        finished.target = which
        action()
        tryCompare(finished, "count", 1)
        verify(!which.running)
        return which.outcome
    }

    function init() {
        tryCompare(line, "status", Link.Open)
        surroundings.takeLog()
        recipe.rows[0].value = [1, 2, 3]
        recipe.rows[1].value = 700
    }

    function test_aRowThatIsEditedMeanwhileHasNoOutcome_data() {
        return [ { tag: "load" }, { tag: "compare" } ]
    }

    function test_aRowThatIsEditedMeanwhileHasNoOutcome(data) {
        compare(run(recipe, recipe.load), Recipe.Complete)
        compare(run(recipe, function() {
            recipe[data.tag]()
            recipe.rows[0].value = [9, 8, 7]
        }), Recipe.Complete)
        compare(recipe.rows[0].value, [9, 8, 7])
        compare(recipe.rows[0].outcome, RecipeRow.None)
        compare(recipe.rows[1].outcome, RecipeRow.Done)
        compare(run(recipe, recipe.load), Recipe.Complete)
        compare(recipe.rows[0].outcome, RecipeRow.Done)
    }

    function test_aRowThatIsEditedWhileItIsSavedHasTheSlavesValue() {
        compare(run(recipe, recipe.load), Recipe.Complete)
        compare(run(recipe, function() {
            recipe.save()
            recipe.rows[0].value = [9, 8, 7]
        }), Recipe.Complete)
        compare(recipe.rows[0].value, [1, 2, 3])
        compare(recipe.rows[0].outcome, RecipeRow.Done)
    }

    function test_loads() {
        compare(run(recipe, recipe.load), Recipe.Complete)
        compare(recipe.progress, 1)
        compare(line.plant.peek(1, "4x22"), 3)
        compare(line.plant.peek(2, "4x7"), 700)
        compare(recipe.rows[1].outcome, RecipeRow.Done)
    }

    function test_savesWhatTheSlavesHold() {
        line.plant.poke(1, "4x21", 4321)
        compare(run(recipe, recipe.save), Recipe.Complete)
        compare(recipe.rows[0].value[1], 4321)
    }

    function test_comparesRowByRow() {
        run(recipe, recipe.load)
        line.plant.poke(2, "4x7", 701)
        compare(run(recipe, recipe.compare), Recipe.Incomplete)
        compare(recipe.rows[0].outcome, RecipeRow.Done)
        compare(recipe.rows[1].outcome, RecipeRow.Differs)
        compare(recipe.rows[1].value, 700)
        compare(recipe.rows[1].slaveValue, 701)
        verify(/1 of 2/.test(recipe.error), recipe.error)
        recipe.rows[1].value = 701
        compare(recipe.rows[1].outcome, RecipeRow.None)
    }

    function test_saysWhichRowIsRefused() {
        compare(run(holed, holed.load), Recipe.Incomplete)
        compare(holed.rows[0].outcome, RecipeRow.Done)
        compare(holed.rows[1].outcome, RecipeRow.Refused)
        compare(holed.rows[1].exceptionCode, 2)
    }

    function test_aSilentStationTakesNoOtherWithIt() {
        line.plant.setStationOn(2, false)
        compare(run(recipe, recipe.load), Recipe.Incomplete)
        compare(recipe.rows[0].outcome, RecipeRow.Done)
        verify(recipe.rows[1].outcome === RecipeRow.Unconfirmed || recipe.rows[1].outcome === RecipeRow.NotTried)
        line.plant.setStationOn(2, true)
        tryVerify(function() { return run(recipe, recipe.load) === Recipe.Complete })
    }

    function test_whatCannotBeLoadedIsRejected() {
        compare(run(wrong, wrong.load), Recipe.Rejected)
        verify(/read-only|3x/.test(wrong.error), wrong.error)
        recipe.rows[0].value = [1]
        compare(run(recipe, recipe.load), Recipe.Rejected)
        verify(/mix/.test(recipe.error), recipe.error)
        verify(/^modbus\.rtu: .*tst_recipe\.qml:\d+/.test(surroundings.takeLog()[0]))
    }

    function test_whoTriesAgainWhatIsRejectedDoesNotDoSoInsideItself() {
        let depth = 0
        let deepest = 0
        let tries = 1
        const again = function() {
            deepest = Math.max(deepest, ++depth)
            if (tries < 4) {
                ++tries
                wrong.load()
            }
            --depth
        }
        wrong.finished.connect(again)
        wrong.load()
        tryVerify(function() { return tries === 4 && !wrong.running })
        wrong.finished.disconnect(again)
        compare(deepest, 1)
    }

    function test_goesToAFileAndBack() {
        const file = surroundings.temporaryFile("mix.json")
        verify(recipe.writeFile(file))
        recipe.rows[0].value = [9, 9, 9]
        recipe.rows[1].value = 9
        verify(recipe.readFile(file))
        compare(recipe.rows[0].value, [1, 2, 3])
        compare(recipe.rows[1].value, 700)
        compare(run(recipe, recipe.load), Recipe.Complete)
    }

    function test_filesThatCannotBeUsedAreToldOf() {
        verify(!recipe.readFile(surroundings.temporaryFile("missing.json")))
        verify(recipe.error !== "")
        verify(!recipe.writeFile("/nowhere/mix.json"))
        verify(!recipe.readFile(Qt.resolvedUrl("plant.sim")))
        verify(/no recipe/.test(recipe.error), recipe.error)
        compare(surroundings.takeLog().length, 3)
    }

    function test_rowsThatAFileCannotTellApartAreRefused_data() {
        return [{ tag: "no name", recipe: nameless, reason: /no name/ },
                { tag: "the same name", recipe: twice, reason: /"same"/ }]
    }

    function test_rowsThatAFileCannotTellApartAreRefused(data) {
        const file = surroundings.temporaryFile("apart.json")
        verify(!data.recipe.writeFile(file))
        verify(data.reason.test(data.recipe.error), data.recipe.error)
        verify(recipe.writeFile(file))
        verify(!data.recipe.readFile(file))
        verify(data.reason.test(data.recipe.error), data.recipe.error)
        compare([data.recipe.rows[0].value, data.recipe.rows[1].value], [1, 2])
        compare(surroundings.takeLog().length, 2)
    }

    function test_aListIsNoRecipe() {
        verify(!list.readFile(Qt.resolvedUrl("list.json")))
        verify(/no recipe/.test(list.error), list.error)
        compare(list.rows[0].value, 5)
        compare(surroundings.takeLog().length, 1)
    }
}
