// The panes Compare and Weapons.
import type { Page } from "playwright-core";
import { eventually, eventuallyMatches, flow, openUnit, unitIsShown } from "./bench";

const compared = (page: Page) => page.getByRole("listbox", { name: "Compared keys" });

async function add(page: Page, name: string): Promise<void> {
    await page.getByLabel("Add a unit", { exact: true }).fill(name);
    await page.keyboard.press("Enter");
}

flow("compares definitions key for key, and says which unit is not there", {}, async ({ page }) => {
    await unitIsShown(page, "FENDOCK");
    await page.getByRole("tab", { name: "Compare" }).click();
    await page.getByText("Add units: their definitions stand side by side here.").waitFor();
    await page.getByRole("button", { name: "Add FENDOCK" }).click();
    await add(page, "FENWADE");
    await compared(page).focus();
    await page.keyboard.press("End");
    await compared(page).getByRole("option", { name: "unitname FENDOCK FENWADE" }).waitFor();
    await eventually(() => compared(page).getByRole("option", { name: /^side / }).count(), 0);
    await page.getByLabel("Only what differs").uncheck();
    await compared(page).focus();
    await page.keyboard.type("side");
    await compared(page).getByRole("option", { name: "side FEN FEN" }).waitFor();
    await add(page, "NOSUCH");
    await page.getByText("no unit NOSUCH").waitFor();
    await page.getByRole("button", { name: "Leave FENWADE out" }).click();
    await eventually(() => compared(page).getByRole("option", { name: /FENWADE/ }).count(), 0);
});

flow("shows a unit's weapons, their tables, and what flies", {}, async ({ page }) => {
    await openUnit(page, "FENRAFT");
    await page.getByRole("tab", { name: "Weapons" }).click();
    await page.getByRole("listbox", { name: "Keys of RAFT_NET" }).getByRole("option", { name: "name Net Thrower" }).waitFor();
    await page.getByRole("img", { name: "Model RAFTNET of RAFT_NET in 3D" }).and(page.locator("[data-drawn=true]")).waitFor();
    await page.getByRole("listbox", { name: "Weapons" }).getByRole("option", { name: /FEN_SPRAY/ }).click();
    await page.getByLabel("Search keys of the weapon").fill("default");
    await page.getByRole("listbox", { name: "Keys of FEN_SPRAY" }).getByRole("option", { name: /DAMAGE › default/i }).waitFor();
    await eventuallyMatches(() => page.getByRole("img", { name: /^Sprite FENSPRAY/ }).getAttribute("alt"), /3 frames/);
});
