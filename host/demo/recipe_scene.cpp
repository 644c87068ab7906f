#include "host/demo/scenes.h"

#include "host/tags/recipe.h"

#include <cstdio>
#include <cstdlib>

#include <unistd.h>

namespace demo {

namespace {

using Values = std::vector<std::vector<std::uint32_t>>;

/** A file that goes when the scene ends. */
class RecipeFile
{
public:
    RecipeFile()
    {
        char folder[] = "/tmp/rtu_demo.XXXXXX";
        if (!mkdtemp(folder))
            throw std::runtime_error("no temporary folder");
        m_folder = folder;
    }

    ~RecipeFile()
    {
        std::remove(path().c_str());
        rmdir(m_folder.c_str());
    }

    RecipeFile(const RecipeFile &) = delete;
    RecipeFile &operator=(const RecipeFile &) = delete;

    std::string path() const { return m_folder + "/recipe.csv"; }

private:
    std::string m_folder;
};

class RecipeScene
{
public:
    RecipeScene(Stage &stage, const std::string &folder, bool lowWordFirst)
        : m_stage(stage)
        , m_lowWordFirst(lowWordFirst)
        , m_recipe(rtu::readRecipeFile(stage.driver, stage.catalog, folder + "/recipe.csv", rtu::Access::Read))
    {
        m_property.swapAll = lowWordFirst;
    }

    /** Slaves -> file, a change in the slaves, file -> slaves. */
    void play()
    {
        const RecipeFile file;
        const Values original = held();
        save(file);
        show("saved", file);
        expect(inFile(file) == original, "the file is what the slaves held");

        changeSlaves();
        const Values changed = held();
        expect(changed != original, "somebody changes the slaves: " + text(original) + " -> " + text(changed));

        load(file);
        show("loaded", file);
        expect(held() == original, "after loading the slaves hold what the file says");
    }

private:
    void save(const RecipeFile &file) { rtu::writeRecipeFile(file.path(), read()); }

    void load(const RecipeFile &file)
    {
        const rtu::Transfer transfer = m_stage.link->load(rtu::recipeRows(recipeIn(file), m_property));
        m_stage.await(transfer);
        expect(transfer.result().complete(), "the slaves took every row");
    }

    /** The recipe with the values that the slaves answer. */
    rtu::Recipe read()
    {
        const rtu::Transfer transfer = m_stage.link->save(rtu::recipeRows(m_recipe, m_property));
        m_stage.await(transfer);
        if (!transfer.result().complete())
            throw std::runtime_error("the recipe was not read whole");
        rtu::Recipe recipe = m_recipe;
        rtu::takeValues(transfer.result(), recipe);
        return recipe;
    }

    rtu::Recipe recipeIn(const RecipeFile &file) const
    {
        return rtu::readRecipeFile(m_stage.driver, m_stage.catalog, file.path(), rtu::Access::Write);
    }

    Values inFile(const RecipeFile &file) const { return recipeIn(file).values; }

    Values held() const
    {
        Values values;
        for (const rtu::TagRange &tag : m_recipe.tags) {
            values.emplace_back();
            for (int i = 0; i < tag.values; ++i)
                values.back().push_back(heldValue(tag, i));
        }
        return values;
    }

    std::uint32_t heldValue(const rtu::TagRange &tag, int value) const
    {
        const std::uint32_t raw = m_stage.held(tag, value);
        if (!tag.type.isDouble() || !m_lowWordFirst)
            return raw;
        return raw << 16 | raw >> 16;
    }

    void changeSlaves()
    {
        for (const rtu::TagRange &tag : m_recipe.tags) {
            for (int register_ = tag.address; register_ < tag.address + tag.count(); ++register_)
                m_stage.slaves.poke(tag.station, plant::Table::HoldingRegisters, register_,
                                    static_cast<std::uint16_t>(register_ * 17));
        }
    }

    void show(const std::string &what, const RecipeFile &file)
    {
        const Values filed = inFile(file);
        const Values answered = read().values;
        const Values there = held();
        std::vector<Row> rows = {{what, "where", "file", "link reads", "slave holds", ""}};
        for (std::size_t i = 0; i < m_recipe.tags.size(); ++i) {
            const rtu::TagRange &tag = m_recipe.tags[i];
            for (std::size_t k = 0; k < there[i].size(); ++k) {
                const bool same = filed[i][k] == answered[i][k] && answered[i][k] == there[i][k];
                rows.push_back({tag.name, std::to_string(tag.station) + ":" + tag.label(static_cast<int>(k)),
                                cell(filed[i][k], tag), cell(answered[i][k], tag), cell(there[i][k], tag),
                                m_stage.tally.count(same) ? "agree" : "DIFFERENT"});
            }
        }
        m_stage.screen.table(rows);
        m_stage.pollFor(ReadingTime);
    }

    void expect(bool holds, const std::string &statement)
    {
        m_stage.screen.say((m_stage.tally.count(holds) ? "yes: " : "NO: ") + statement);
    }

    std::string text(const Values &values) const
    {
        std::string result;
        for (std::size_t i = 0; i < values.size(); ++i) {
            for (std::uint32_t raw : values[i])
                result += (result.empty() ? "" : " ") + valueText(raw, m_recipe.tags[i].format);
        }
        return result;
    }

    Stage &m_stage;
    bool m_lowWordFirst;
    rtu::DriverProperty m_property;
    rtu::Recipe m_recipe;
};

} // namespace

void showRecipes(Stage &stage, const std::string &folder)
{
    for (const bool lowWordFirst : {false, true}) {
        stage.screen.scene(std::string("A recipe from the slaves to a file and back, 32-bit values ")
                           + (lowWordFirst ? "low word first" : "high word first"));
        RecipeScene(stage, folder, lowWordFirst).play();
    }
}

} // namespace demo
