import assert from "node:assert/strict";
import { test } from "node:test";
import { formatRoute, parseRoute, type Route } from "../src/router.ts";

const kBothWays: [string, Route][] = [
  ["#/", { view: "library", search: "", sort: "title" }],
  ["#/?search=summer+%26+sea&sort=newest", { view: "library", search: "summer & sea", sort: "newest" }],
  ["#/?search=what%3F%231", { view: "library", search: "what?#1", sort: "title" }],
  ["#/film/12", { view: "film", id: 12 }],
];

for (const [hash, route] of kBothWays) {
  test(`Route.IsTheSameBothWays(${hash})`, () => {
    assert.deepEqual(parseRoute(hash), route);
    assert.equal(formatRoute(route), hash);
  });
}

for (const hash of ["", "#", "#nonsense", "#/film/", "#/film/0", "#/film/-1", "#/film/1x", "#/film/99999999999", "#/film/../etc", "#/?sort=sideways"]) {
  test(`Route.LeadsToTheLibraryWhenTheAddressIs(${hash})`, () => {
    assert.deepEqual(parseRoute(hash), { view: "library", search: "", sort: "title" });
  });
}
