import { openBench, browser, openUnit, unitIsShown } from "./bench";
const b = await openBench({ page: { viewport: { width: 1440, height: 900 } } });
const { page } = b;
await openUnit(page, "KILCART");
await page.waitForTimeout(3000);
for (let i = 0; i < 6; i++) {
  for (const n of ["FENWADE", "KILCART"]) {
    await page.getByRole("option", { name: new RegExp(n) }).first().click();
    await unitIsShown(page, n);
    await page.waitForTimeout(100);
    console.log(n, await page.evaluate(() => { const t = (window as any).T; return t.map(([k, v]: any) => `${k} ${(v - t[0][1]).toFixed(0)}`).join("  "); }));
  }
}
await b.close(); await (await browser()).close();
