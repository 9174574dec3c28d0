// Flow 1: opening folders.
import assert from "node:assert/strict";
import { join } from "node:path";
import { eventually, flow, unitIsShown } from "./bench";

flow("shows the first unit of the sample game on the first page", {}, async ({ page }) => {
    await unitIsShown(page, "FENDOCK");
    assert.equal(await page.getByRole("listbox", { name: "Units" }).getByRole("option").count(), 11);
});

flow("opens another mod from the dialog and remembers it", {}, async ({ page, data }) => {
    await unitIsShown(page, "FENDOCK");
    await page.keyboard.press("Control+o");
    const dialog = page.getByRole("dialog", { name: "Open a game and mods" });
    await dialog.getByLabel("Add a mod folder").fill(join(data, "found"));
    await dialog.getByRole("button", { name: "Open", exact: true }).click();
    await page.getByRole("option", { name: /GLDCRAB/ }).waitFor();
    await page.keyboard.press("Control+o");
    await eventually(() => dialog.getByRole("listbox", { name: "Opened before" }).getByRole("option").count(), 2);
});

flow("says at once that a folder is not there, and that one holds no units", {}, async ({ page, data, scratch }) => {
    await unitIsShown(page, "FENDOCK");
    await page.keyboard.press("Control+o");
    const dialog = page.getByRole("dialog", { name: "Open a game and mods" });
    const leave = dialog.getByRole("button", { name: "Leave mod out" });
    await leave.click();
    await leave.waitFor({ state: "detached" });
    await dialog.getByLabel("Game folder").fill(join(data, "nowhere"));
    await dialog.getByText("no such folder").waitFor();
    await dialog.getByLabel("Game folder").fill(scratch + "/state");
    await dialog.getByRole("button", { name: "Open", exact: true }).click();
    await page.getByText("0 units here.").waitFor();
});

flow("mods change places when one is dragged onto the other, and then the other one wins", {
    roots: (data) => ({ taDataPath: join(data, "game"), modPaths: [join(data, "mod"), join(data, "found")] }),
}, async ({ page }) => {
    await unitIsShown(page, "FENDOCK");
    const names = () => page.getByLabel("Data roots").getByRole("listitem").allTextContents();
    await eventually(names, ["sample game game", "mod found", "mod mod"]);
    await page.getByRole("listitem").filter({ hasText: "found" }).dragTo(page.getByRole("listitem").filter({ hasText: "mod mod" }));
    await eventually(names, ["sample game game", "mod mod", "mod found"]);
});

flow("a root that is not there is marked, and the others are mounted", {
    roots: (data) => ({ taDataPath: join(data, "game"), modPaths: [join(data, "gone")] }),
}, async ({ page }) => {
    await unitIsShown(page, "FENDOCK");
    await page.getByRole("listitem").filter({ hasText: "gone" }).getByText("not there").waitFor();
});
