// Flow 13: maps, what stands on them, and time.
import assert from "node:assert/strict";
import { join } from "node:path";
import type { Page } from "playwright-core";
import { eventually, eventuallyMatches, flow, unitIsShown } from "./bench";

async function loadMap(page: Page, schema: string, firstUnit = "FENDOCK"): Promise<void> {
    await unitIsShown(page, firstUnit);
    await page.getByRole("tab", { name: "Map", exact: true }).click();
    await page.getByLabel("Schema").selectOption({ label: schema });
    await page.getByRole("button", { name: "Load", exact: true }).click();
    await eventually(() => page.getByRole("img", { name: /^Fenmere/ }).getAttribute("data-map"), "Fenmere");
}

const units = (page: Page) => page.getByRole("listbox", { name: "Units on the map" }).getByRole("option");
const placeOf = async (page: Page, row: number) => (await units(page).nth(row).locator("span").last().textContent())!;
const middle = async (page: Page) => {
    const box = (await page.getByRole("img", { name: /^Fenmere/ }).boundingBox())!;
    return { x: box.x + box.width / 2, y: box.y + box.height / 2 };
};

/** Little to draw, since the tests' graphics are the processor's. */
const SMALL = { page: { viewport: { width: 1024, height: 700 } } };

flow("loads a map with its units, and shows the unit again", SMALL, async ({ page }) => {
    await loadMap(page, "Easy");
    await eventually(() => units(page).count(), 5);
    await page.getByRole("img", { name: "Minimap" }).waitFor();
    await page.getByRole("button", { name: "Show unit" }).click();
    await unitIsShown(page, "FENDOCK");
    await page.getByRole("button", { name: "Leave" }).click();
    await page.getByText("Load a map: it takes the place of the unit above").waitFor();
});

flow("places units by click, says why it cannot, and survives the editor's end", SMALL, async ({ page, killEditor }) => {
    await loadMap(page, "Network 1");
    await page.getByLabel("Name", { exact: true }).fill("KILOVEN");
    await page.getByRole("button", { name: "Place by click" }).click();
    const { x, y } = await middle(page);
    await page.mouse.click(x + 40, y + 90);
    await eventually(() => units(page).count(), 1);
    await page.mouse.click(x + 40, y + 90);
    await page.getByRole("alert").getByText("cannot place KILOVEN: occupied").waitFor();
    await page.keyboard.press("Escape");
    await page.getByLabel("Heading").fill("-90");
    assert.equal(await page.getByLabel("Heading").inputValue(), "-90");
    await page.getByLabel("Count").fill("5000");
    await page.getByRole("alert").getByText("1 to 1,000").waitFor();
    assert.match(await page.getByRole("button", { name: "Place by click" }).getAttribute("title") ?? "",
        /^Count: 1 to 1,000/);
    await page.keyboard.press("F8");
    await eventuallyMatches(() => page.getByLabel("Tick", { exact: true }).textContent(), /tick [1-9]/);
    await killEditor();
    await page.getByText("the editor has ended, and Fenmere with it: load it again").waitFor();
    assert.equal(await page.getByText(/call map-load first/).count(), 0);
    await unitIsShown(page, "FENDOCK");
});

flow("orders a unit by click, lets time pass and tells what happened", SMALL, async ({ page }) => {
    await loadMap(page, "Network 1");
    await page.getByLabel("Name", { exact: true }).fill("KILCART");
    await page.getByRole("button", { name: "Place by click" }).click();
    const { x, y } = await middle(page);
    await page.mouse.click(x + 60, y + 10);
    await eventually(() => units(page).count(), 1);
    const before = await placeOf(page, 0);
    await page.getByRole("tab", { name: "Order", exact: true }).click();
    await page.getByRole("button", { name: "Move by click" }).click();
    await page.mouse.click(x + 90, y);
    await eventuallyMatches(() => units(page).nth(0).textContent(), /move/);
    const [fromX = 0, fromZ = 0] = before.split(", ").map(Number);
    await page.getByLabel("Where").fill(`${fromX + 48} ${fromZ}`);
    await page.getByRole("button", { name: "Move", exact: true }).click();
    await page.getByRole("tab", { name: "Events", exact: true }).click();
    await page.getByRole("button", { name: "10 s" }).click();
    await page.getByRole("listbox", { name: "Events" }).getByText(/^move: done/).waitFor();
    assert.notEqual(await placeOf(page, 0), before);
    await eventually(() => page.getByLabel("Tick", { exact: true }).textContent(), "tick 300");
    assert.match((await page.getByLabel("Hash").textContent())!, /^[0-9a-f]{16}$/);
});

flow("runs and pauses by key, and a click with the right button orders", SMALL, async ({ page }) => {
    await loadMap(page, "Easy");
    await units(page).nth(0).click();
    const { x, y } = await middle(page);
    await page.mouse.click(x + 60, y + 80, { button: "right" });
    await page.keyboard.press("F8");
    await eventuallyMatches(() => page.getByLabel("Tick", { exact: true }).textContent(), /tick [1-9]/);
    await page.keyboard.press("F8");
    await page.getByRole("toolbar", { name: "Map time" }).getByRole("button", { name: "Run", exact: true }).waitFor();
});

const MODS = { ...SMALL, roots: (data: string) => ({
    taDataPath: join(data, "game"), mapsPath: join(data, "maps"),
    modPaths: ["works", "watch", "wings"].map((mod) => join(data, mod)),
}) };

flow("tells what burns, who hides and who is carried", MODS, async ({ page }) => {
    await loadMap(page, "Network 1", "FENDIG");
    const tool = (name: string) => page.getByRole("tab", { name, exact: true }).click();
    const put = async (name: string, where: string, what = "Unit"): Promise<void> => {
        await tool("Place");
        await page.getByLabel("What", { exact: true }).selectOption({ label: what });
        await page.getByLabel("Name", { exact: true }).fill(name);
        await page.getByLabel("Where").fill(where);
        await page.getByRole("button", { name: "Place", exact: true }).click();
        await page.getByText(what === "Unit" ? "1 unit placed" : `${name} placed`).waitFor();
    };
    const order = async (title: string, where?: string): Promise<void> => {
        await tool("Order");
        await page.getByRole("combobox", { name: "Order", exact: true }).selectOption({ label: title });
        if (where) await page.getByLabel("Where").fill(where);
        await page.getByRole("form", { name: "Order" }).getByRole("button", { name: title, exact: true }).click();
        await page.getByText(`${title}: 1 unit`).waitFor();
    };
    const row = (name: string) => units(page).filter({ hasText: name });

    await put("FENVEIL", "1000 400");
    await order("Cloak");
    await page.getByRole("button", { name: "1 s", exact: true }).click();
    await row("FENVEIL").getByText("idle, cloaked").waitFor();

    await put("FenReed", "1040 320", "Feature");
    await put("FenReed", "1088 320", "Feature");
    await put("FENSTEW", "1008 320");
    await order("Kill");
    await tool("Events");
    await page.getByRole("button", { name: "10 s" }).click();
    await page.getByRole("listbox", { name: "Events" }).getByText(/^feature \d+ burns/).first().waitFor();

    await put("FENWADE", "300 420");
    const id = await row("FENWADE").locator("span").first().textContent();
    await put("FENSTORK", "200 600");
    await order("Load", `#${id}`);
    await row("FENSTORK").getByText("load").waitFor();
    await page.getByRole("button", { name: "10 s" }).click();
    await row("FENWADE").getByText("carried").waitFor();
    await order("Unload", "300 420");
    await page.getByRole("button", { name: "10 s" }).click();
    await row("FENWADE").getByText("idle").waitFor();
});
